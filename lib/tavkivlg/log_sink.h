#ifndef KIVLG_LOG_SINK_H
#define KIVLG_LOG_SINK_H

#include <string_view>

#include "tavkivlg/line_environment.h"

namespace kivlg {

// Where finished lines go: the log file in the real build, a list in memory in the recording build. The thread's last
// error need not be kept by a sink.

// Once, from the entry point of the library, before any line.
void StartSink() noexcept;

// Whether lines of this level are written at all; the others need not be formatted.
bool SinkWants(unsigned level) noexcept;

// The text is without the system's words for the environment's error.
void WriteToSink(const LineEnvironment& environment, std::string_view text) noexcept;

}  // namespace kivlg

#endif
