// Reading configuration documents into a new CConfiguration bound to a
// factory but not yet part of it. All of these throw CException.
#pragma once

#include <string>
#include <utility>

#include "config/configuration.h"
#include "substitution/reading.h"
#include "xml/xml_document.h"
#include "xml/xml_node.h"
#include "zem/exception.h"

namespace ZEM {

// Reads the file at `path` and, first, every file it includes, within the
// limits of `reading`, which the load then has used.
CConfiguration ReadConfigurationFile(IBeanFactory* factory, const wchar_t* path, CReading& reading);
// The same with the default limits.
CConfiguration ReadConfigurationFile(IBeanFactory* factory, const wchar_t* path);

// Reads a document given as text; includes are not followed. Null or empty
// text gives an empty configuration.
CConfiguration ReadConfigurationText(IBeanFactory* factory, const char* text, CReading& reading);
CConfiguration ReadConfigurationText(IBeanFactory* factory, const char* text);

// In a library's path this stands for the folder of the document being read
// (absolute; the current directory for a text), so that a document can name
// a class library beside itself.
constexpr const char* kDocumentFolderVariable = "%zem:dir%";

// Adds the content of every `library` element of `root` to the store;
// `folder` is what kDocumentFolderVariable stands for.
void ReadLibraries(CConfiguration& configuration, CReading& reading, const XMLNode& root, const std::string& folder);

// A document that failed to parse. The message keeps its fixed form; the
// parser's outcome (the error code, the position and the names behind it)
// stays with it for tools that explain more.
class CParseFailure : public CException {
public:
    CParseFailure(const std::wstring& message, std::wstring file, SXmlParseResult result)
        : CException(message), file_(std::move(file)), result_(std::move(result)) {}
    // The file that failed; empty for a text.
    const std::wstring& File() const { return file_; }
    const SXmlParseResult& Result() const { return result_; }

private:
    std::wstring file_;
    SXmlParseResult result_;
};

// "Error when parssing 'zem' at line L, column C." for a failed parse.
std::wstring DescribeParseError(const SXmlParseResult& result, const char* rootName);

}  // namespace ZEM
