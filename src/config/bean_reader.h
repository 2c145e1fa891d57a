// Readers of `beans`, `bean`/`service` and `interface` elements: each bean
// element becomes an SBean record in the library it names. Called by the
// document reader for every `library` element, and by the argument readers
// for inner beans. All of them throw CException.
#pragma once

#include <string>

#include "config/configuration.h"
#include "config/records.h"
#include "substitution/reading.h"
#include "substitution/substitute.h"
#include "xml/xml_node.h"

namespace ZEM {

// Reads the `bean` elements of `element`, then its `service` elements, then
// its loops, appending each record to the library that the bean names.
void ReadBeans(CConfiguration& configuration, CReading& reading, const XMLNode& element, SLibrary* library,
               const ParameterMap& parameters);

// Fills `bean` from `element` and returns the library it belongs to: the one
// named after an '@' in its class, else `library`. The caller appends the
// record there. A non-empty `innerName` reads an inner bean: that name stands
// for the `name` attribute, and the bean is never a singleton, never eager and
// always exported.
SLibrary* ReadBean(CConfiguration& configuration, CReading& reading, const XMLNode& element, SBean& bean,
                   const ParameterMap& parameters, SLibrary* library, const char* innerName);

// Binds `library` (which loads its class library into the store), then appends
// the type id of the interface class named by `element`'s text to the bean.
void ReadInterface(CConfiguration& configuration, CReading& reading, SLibrary* library,
                   const ParameterMap& parameters, SBean& bean, const XMLNode& element);

// The reading of a name or a value, shared by the element readers: `text`
// through SubstituteParameters, then as UTF-8 again, as the records keep
// text. Null gives "". Outside every loop the engine only decodes, so plain
// ASCII is taken over as it stands.
std::string SubstitutedName(const char* text, const ParameterMap& parameters, CReading& reading);
// The same passed to ParameterToBool.
bool SubstitutedFlag(const char* text, const ParameterMap& parameters, CReading& reading);

}  // namespace ZEM
