#ifndef KIVLG_LOG_SINK_H
#define KIVLG_LOG_SINK_H

#include <string>

#include "tavkivlg/line_environment.h"

namespace kivlg {

// Where finished lines go: the log file in the real build, a list in memory in the recording build. The thread's last
// error need not be kept by a sink.
void StartSink(unsigned long threadId) noexcept;
void StopSink(unsigned long threadId) noexcept;
bool SinkWants(unsigned level) noexcept;
void WriteToSink(const LineEnvironment& environment, const std::string& text) noexcept;

}  // namespace kivlg

#endif
