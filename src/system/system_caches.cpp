#include "system/system_caches.h"

namespace kiv {
namespace {

SystemCaches g_processCaches;
SystemCaches* g_caches = &g_processCaches;

}  // namespace

SystemCaches& Caches() noexcept {
    return *g_caches;
}

SystemCaches* SwapCaches(SystemCaches* caches) noexcept {
    SystemCaches* previous = g_caches;
    g_caches = caches;
    return previous;
}

}  // namespace kiv
