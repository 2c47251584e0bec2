#ifndef KIV_INSTALL_SESSION_SERVER_H
#define KIV_INSTALL_SESSION_SERVER_H

namespace kiv {

// Whether a list that is only the fallback is written to the registry.
bool IsSessionWrittenToRegistry() noexcept;

}  // namespace kiv

#endif
