#ifndef KIVCTL_REGISTRY_DATA_H
#define KIVCTL_REGISTRY_DATA_H

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/windows_api.h"

#include "tavkivut/registry.h"

namespace kivctl {

// The types that values can be written with, by the names that the options use.
extern const std::vector<std::string> kWritableTypes;

// A value for people and for programs.
struct RegistryValue {
    std::string type;             // "sz", "dword", ..., else "type 9"
    std::string text;             // numbers in decimal, items one a line, bytes as hexadecimal digits
    nlohmann::ordered_json data;  // a string, a number, an array of strings; bytes as hexadecimal digits
};

RegistryValue ReadValue(CKivRegKey& key, const std::string& name);

// What is to be written.
struct RegistryData {
    unsigned long type;
    std::string bytes;  // of a dword its decimal digits
};

// Wrong items for the type named are a UsageError.
RegistryData ParseData(const std::string& type, const std::vector<std::string>& items);

void WriteValue(CKivRegKey& key, const std::string& name, const RegistryData& data);

}  // namespace kivctl

#endif
