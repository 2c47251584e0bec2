#ifndef KIVCTL_TEXT_LINES_H
#define KIVCTL_TEXT_LINES_H

#include <string>
#include <string_view>
#include <vector>

namespace kivctl {

// A line of a text file and what ends it: CR LF, LF, CR, or nothing at the end of the file.
struct TextLine {
    std::string text;
    std::string end;
};

std::vector<TextLine> SplitLines(std::string_view text);

// The bytes of a file. Throws Failure when it cannot be read.
std::string ReadWholeFile(const std::string& file);

// The content of a file in a one-byte or two-byte code page. Throws Failure for one that cannot be read or holds zero
// bytes.
std::string ReadTextFile(const std::string& file);

// Writes new content into a file that exists; its attributes and access list stay. When the write fails the old content
// is put back and Failure thrown.
void RewriteTextFile(const std::string& file, const std::string& oldContent, const std::string& newContent);

// Puts the old content back after a write by other means that failed. Gives whether that worked; throws Failure when
// the file cannot be opened.
bool RestoreFile(const std::string& file, const std::string& content);

constexpr char kNotRestored[] = "; the old content could not be put back";

}  // namespace kivctl

#endif
