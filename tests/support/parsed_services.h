#ifndef KIV_TESTS_SUPPORT_PARSED_SERVICES_H
#define KIV_TESTS_SUPPORT_PARSED_SERVICES_H

#include <cstdlib>
#include <string>

#include "system/services_text.h"

namespace kiv::test {

// The entries of a services file.
struct ParsedServices {
    explicit ParsedServices(std::string_view contents) { ParseServices(contents, list); }
    ParsedServices(const ParsedServices&) = delete;
    ParsedServices& operator=(const ParsedServices&) = delete;
    ~ParsedServices() {
        for (long i = 0; i < list.count; ++i)
            FreeServiceEntry(list.entries[i]);
        std::free(list.entries);
    }

    std::string Written() const {
        HeapBuffer<char> contents;
        return FormatServices(list, contents) ? std::string(contents.Text()) : "(no memory)";
    }

    // Every field of every entry: "name port/protocol alias alias#comment", a line each.
    std::string Shown() const {
        std::string shown;
        for (long i = 0; i < list.count; ++i) {
            const NETSERVICE& entry = *list.entries[i];
            if (entry.name != nullptr)
                shown += std::string(entry.name) + " " + std::to_string(entry.port) + "/" + entry.protocol;
            for (int alias = 0; alias < entry.aliasCount; ++alias)
                shown += std::string(" ") + entry.aliases[alias];
            shown += entry.comment == nullptr ? "\n" : std::string("#") + entry.comment + "\n";
        }
        return shown;
    }

    NETSERVICELIST list{};
};

}  // namespace kiv::test

#endif
