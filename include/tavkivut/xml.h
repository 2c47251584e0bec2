#ifndef TAVKIVUT_XML_H
#define TAVKIVUT_XML_H

// Writing XML documents as a stream: a document is opened, elements, data and comments are put into it one after the
// other, and it is closed. Documents are indented with tabs, have CR LF line ends, are declared as ISO-8859-1 and carry
// one fixed list of character entities. Nothing here reads XML.

#include "tavkivut/export.h"

// What a document's text is meant to be. It is kept with the document and changes nothing: every document is declared
// as ISO-8859-1, and text is written byte by byte.
enum KivXmlEncoding : int { XML_ENCODING_DEFAULT = 0, XML_ENCODING_ISO_8859_1 = 1 };

// Lets the compiler look for the null pointer at the end of a list of arguments.
#if defined(__GNUC__)
#define KIV_NULL_TERMINATED __attribute__((sentinel))
#else
#define KIV_NULL_TERMINATED
#endif

namespace kiv {
struct XmlBlock;
}

// One document after the other, each in a file of its own.
//
// Texts are in the system code page. In attribute values and plain data & < > ' " and nine characters of ISO-8859-1
// (registered, copyright, the German umlauts and sharp s) become entities; names, comments and CDATA sections are
// written as they are. Nothing is checked: names, comments with "--", sections with "]]>", control characters and a
// second root element are the caller's duty. So is the whitespace that belongs to the layout:
//
//     <a>text</a>     data of at most 260 bytes without a line feed, in an element without attributes
//     <a b="c">       everything else stands on a line of its own, behind one tab for each level (two more for a
//      text           comment) and, for data, one space; a line feed in data becomes a line end and tabs
//     </a>
//     <a />           an element with nothing in it
//
// Items are collected and reach the file in blocks; all of them are there when the document has ended. An object serves
// one thread. Without an open document every operation but beginDocument does nothing.
class KIV_API CKivXmlFactory {
public:
    CKivXmlFactory() noexcept;
    ~CKivXmlFactory();  // endDocument

    // A copy knows the other's fields but is closed: two objects never write one file. Assignment ends the target's
    // own document first.
    CKivXmlFactory(const CKivXmlFactory& other) noexcept;
    CKivXmlFactory& operator=(const CKivXmlFactory& other) noexcept;

    // Makes the file, or empties it, and writes the declaration and the entities. Not 0 when the document is open. 0
    // when one is open already, for a null path and one of 260 characters or more, and when the user gives up.
    //
    // A read-only file is made writable until the document ends. Where access is denied to a path of this computer's
    // own share, its local path is tried. If the file still cannot be made, a message box asks the user, who may try
    // again: the calling thread waits for the answer.
    int beginDocument(const char* path, KivXmlEncoding encoding) noexcept;

    // Ends every element that is still open, innermost first, and closes the file, which is read-only again when it
    // was before.
    void endDocument() noexcept;

    // `attributes` holds attributeCount pairs of name and value; a null pointer among them ends the list. The
    // element's name must stay valid until its endElement. A null name does nothing.
    void beginElementArgv(const char* name, unsigned int attributeCount, const char** attributes) noexcept;

    // The same with the names and values behind the name, ended by a null pointer:
    // beginElement("file", "name", "a.txt", "size", "17", nullptr).
    void beginElement(const char* name, ...) noexcept KIV_NULL_TERMINATED;

    void endElement() noexcept;  // the innermost one, if any

    // Character data of the innermost element; as a CDATA section when `cdata` is not 0. A null text does nothing.
    void putData(const char* text, int cdata) noexcept;

    void putComment(const char* text) noexcept;

    // After endDocument: 0 when the whole document is in the file, else the Win32 error of the first write that failed,
    // which the log names too, or 8 (ERROR_NOT_ENOUGH_MEMORY): what comes behind such an error is not written. Before,
    // an error of what has been written so far.
    unsigned long getWriteError() const noexcept;

protected:
    // Writes one item: a start tag, or what the one of the flags says that is not 0 (`cdata` goes with `data`).
    // `text` is the name, or the text of data and comments. 0 when no document is open or `text` is null, and after a
    // write that failed.
    int Serialize(const char* text, unsigned int attributeCount, const char** attributes, int instruction, int comment,
                  int endTag, int data, int cdata) noexcept;

private:
    friend struct CKivXmlFactoryLayout;

    void CopyFields(const CKivXmlFactory& other) noexcept;
    bool PushName(const char* name) noexcept;
    void StartLayout() noexcept;
    void WriteBlock() noexcept;
    void StopWithoutMemory() noexcept;
    template <class AppendText>
    void Append(const AppendText& append) noexcept;

    void* m_file;  // 0: no document
    KivXmlEncoding m_encoding;
    unsigned int m_depth;
    const char** m_names;  // owned array of the callers' names, innermost last
    unsigned int m_nameCount;
    unsigned int m_nameCapacity;
    int m_openTag;  // depth of a start tag that still lacks its ">", or -1
    bool m_inline;  // data may follow on the same line
    bool m_readOnlyCleared;
    char m_path[260];

    unsigned long m_writeError;
    kiv::XmlBlock* m_block;  // owned; what is not in the file yet
};

#endif
