#ifndef KIV_TESTS_SUPPORT_THIS_RELEASE_H
#define KIV_TESTS_SUPPORT_THIS_RELEASE_H

#include <string>

namespace kiv::test {

// The Windows release that this program was named to run as ("win95", "nt40", ...), told by the end of its file name;
// "" for the program under its own name, which runs as whatever the system is.
std::string ThisRelease();

// Whether that release belongs to the 9x family; false under the program's own name.
bool ThisReleaseIs9x();

}  // namespace kiv::test

#endif
