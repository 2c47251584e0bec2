#ifndef KIV_FILES_XML_FILE_H
#define KIV_FILES_XML_FILE_H

#include "support/dynamic_function.h"
#include "support/scoped_resource.h"

namespace kiv {

// The message box and its owner. Loaded on first use: user32 would double the time that the library takes to load.
struct MessageBoxApi {
    decltype(&::MessageBoxA) messageBox;
    decltype(&::GetDesktopWindow) getDesktopWindow;

    void Load() noexcept {
        const HMODULE module = LoadSystemModule("user32.dll");
        FindFunction(module, "MessageBoxA", messageBox);
        FindFunction(module, "GetDesktopWindow", getDesktopWindow);
    }
};

// Where a document is written, and whether its file was read-only before.
struct XmlFilePath {
    char (&text)[MAX_PATH];
    bool& readOnlyCleared;
};

// Makes the file, or empties it: without its read-only attribute, by its local path where access is denied on this
// computer's own share, and as often as the user wants. Empty when the user gives up. The path and the flag tell what
// became of them.
ScopedFile OpenXmlFile(const XmlFilePath& path) noexcept;

// Makes the file read-only again where it was, and clears the flag.
void RestoreReadOnly(const XmlFilePath& path) noexcept;

}  // namespace kiv

#endif
