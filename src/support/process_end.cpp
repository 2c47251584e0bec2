#include "support/process_end.h"

namespace kiv {
namespace {

bool g_processEnds = false;

}  // namespace

bool IsProcessEnding() noexcept {
    return g_processEnds;
}

void NoteProcessEnd() noexcept {
    g_processEnds = true;
}

}  // namespace kiv
