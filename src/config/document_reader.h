// Reading configuration documents into a new CConfiguration bound to a
// factory but not yet part of it. All of these throw CException.
#pragma once

#include <functional>
#include <string>

#include "config/configuration.h"
#include "xml/xml_document.h"
#include "xml/xml_node.h"

namespace ZEM {

// Reads the file at `path` and, first, every file it includes.
CConfiguration ReadConfigurationFile(IBeanFactory* factory, const wchar_t* path);

// Reads a document given as text; includes are not followed. Null or empty
// text gives an empty configuration.
CConfiguration ReadConfigurationText(IBeanFactory* factory, const char* text);

// Adds the content of every `library` element of `root` to the store.
void ReadLibraries(CConfiguration& configuration, const XMLNode& root);

// Told, on this thread, when the parse of each document starts (true) and
// ends (false), for tools that time a load; empty for none. What it throws
// on a start passes to the reader's caller; on an end it is dropped.
using ParseWatch = std::function<void(bool started)>;
void SetParseWatch(ParseWatch watch);

// "Error when parssing 'zem' at line L, column C." for a failed parse.
std::wstring DescribeParseError(const SXmlParseResult& result, const char* rootName);

}  // namespace ZEM
