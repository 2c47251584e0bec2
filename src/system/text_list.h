#ifndef KIV_SYSTEM_TEXT_LIST_H
#define KIV_SYSTEM_TEXT_LIST_H

#include <string_view>

namespace kiv {

// Whether the data of a multi-string value holds that text, compared exactly. Empty items do not end the list, and
// the last item needs no terminator.
inline bool HoldsText(std::string_view data, std::string_view wanted) noexcept {
    while (!data.empty()) {
        const std::string_view item = data.substr(0, data.find('\0'));
        if (item == wanted)
            return true;
        data.remove_prefix(item.size() < data.size() ? item.size() + 1 : item.size());
    }
    return false;
}

}  // namespace kiv

#endif
