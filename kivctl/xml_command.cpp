#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/windows_api.h"

#include "files/without_read_only.h"
#include "kivctl/command.h"
#include "kivctl/text_lines.h"
#include "kivctl/xml_source.h"
#include "support/ascii.h"
#include "support/scoped_resource.h"
#include "tavkivut/system.h"
#include "tavkivut/xml.h"

namespace kivctl {
namespace {

struct Options {
    std::string source;
    std::string document;
    std::string format;
    bool ask = false;
};

// The source in UTF-8: JSON always is, an outline only when its byte-order mark says so.
std::string ReadSource(const std::string& file, bool json) {
    const std::string mark = "\xEF\xBB\xBF";
    const std::string content = ReadTextFile(FullPath(file));
    if (content.compare(0, mark.size(), mark) == 0)
        return content.substr(mark.size());
    return json ? content : Utf8(content);
}

XmlNodes ReadDocument(const Options& options) {
    const std::size_t dot = options.source.rfind('.');
    const bool json = options.format.empty()
                          ? dot != std::string::npos && kiv::EqualsIgnoreCase(options.source.substr(dot), ".json")
                          : options.format == "json";
    const std::string text = ReadSource(options.source, json);
    try {
        XmlNodes nodes = json ? ReadXmlJson(text) : ReadXmlOutline(text);
        PrepareXml(nodes);
        return nodes;
    } catch (const Failure& failure) {
        throw Failure(options.source + ": " + failure.what());
    }
}

// What stood in the file; nothing where there is no file. Fails where the library could not open it, so that no message
// box waits where nobody sees it. A read-only file is writable for the library. Access denied on a share is left to it,
// since it may know a local path.
std::optional<std::string> OldContents(const std::string& path) {
    const kiv::WithoutReadOnly writable(path.c_str());
    kiv::ScopedFile file(::CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                       FILE_ATTRIBUTE_NORMAL, nullptr));
    const DWORD error = ::GetLastError();
    const bool opened = static_cast<bool>(file);
    file.Reset();
    if (opened && error != ERROR_ALREADY_EXISTS)
        ::DeleteFileA(path.c_str());
    else if (opened)
        return ReadWholeFile(path);
    else if (error != ERROR_ACCESS_DENIED || path.compare(0, 2, "\\\\") != 0)
        throw Failure("'" + path + "' cannot be written: " + ErrorText(error));
    return std::nullopt;
}

void Put(CKivXmlFactory& document, const XmlNode& node) {
    if (node.kind == XmlNode::Kind::kComment)
        return document.putComment(node.text.c_str());
    if (node.kind != XmlNode::Kind::kElement)
        return document.putData(node.text.c_str(), node.kind == XmlNode::Kind::kCData ? 1 : 0);
    std::vector<const char*> attributes;
    for (const auto& [name, value] : node.attributes)
        attributes.insert(attributes.end(), {name.c_str(), value.c_str()});
    document.beginElementArgv(node.text.c_str(), static_cast<unsigned>(node.attributes.size()), attributes.data());
    for (const XmlNode& child : node.children)
        Put(document, child);
    document.endElement();
}

void WriteDocument(const XmlNodes& nodes, const std::string& path) {
    CKivXmlFactory document;
    if (document.beginDocument(path.c_str(), XML_ENCODING_ISO_8859_1) == 0)
        throw Failure("'" + path + "' was not written");
    for (const XmlNode& node : nodes)
        Put(document, node);
    document.endDocument();
    if (const unsigned long error = document.getWriteError())
        Fail("'" + path + "' was not written whole", error);
}

// On failure nothing is left of the new document.
void ReplaceDocument(const XmlNodes& nodes, const std::string& path) {
    const bool isNew = ::GetFileAttributesA(path.c_str()) == INVALID_FILE_ATTRIBUTES;
    const std::optional<std::string> old = OldContents(path);
    try {
        WriteDocument(nodes, path);
    } catch (const Failure& failure) {
        const kiv::WithoutReadOnly writable(path.c_str());
        if (isNew)
            ::DeleteFileA(path.c_str());
        if (old && !RestoreFile(path, *old))
            throw Failure(std::string(failure.what()) + kNotRestored);
        throw;
    }
}

// A temporary file that is deleted whatever happens to it.
struct TemporaryFile {
    TemporaryFile() {
        if (CKivSystem::GetUniqueTempFileName(path, MAX_PATH) != 0)
            throw Failure("no temporary file can be made");
    }
    ~TemporaryFile() { ::DeleteFileA(path); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    char path[MAX_PATH + 1];
};

// The bytes of the document on the standard output.
void ShowDocument(const XmlNodes& nodes) {
    const TemporaryFile file;
    WriteDocument(nodes, file.path);
    ::_setmode(::_fileno(stdout), _O_BINARY);
    std::cout << ReadTextFile(file.path);
}

void Run(const Options& options) {
    const XmlNodes nodes = ReadDocument(options);
    if (options.document.empty())
        return ShowDocument(nodes);
    const std::string path = FullPath(options.document);
    if (options.ask)
        WriteDocument(nodes, path);
    else
        ReplaceDocument(nodes, path);
}

}  // namespace

void AddXmlCommand(Command program) {
    const auto options = std::make_shared<Options>();
    Command command =
        program.AddCommand("xml", "Makes an XML document from an indented outline or from JSON.", options, Run);
    command.AddOption("SOURCE", options->source, "JSON when its name ends in .json, else an outline").Required();
    command.AddOption("DOCUMENT", options->document, "file to write; without it the document is shown");
    command.AddOption("--from", options->format, "what the source is, whatever its name").OneOf({"outline", "json"});
    command.AddFlag("--ask", options->ask, "ask in a message box when the file cannot be written");
}

}  // namespace kivctl
