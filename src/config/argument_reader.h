// Readers of what a bean is given: constructor arguments, properties and the
// four forms of a value, including inner beans. Called by the bean reader
// while it reads a `bean` or `service` element. All of them throw CException.
#pragma once

#include "config/configuration.h"
#include "config/records.h"
#include "substitution/reading.h"
#include "substitution/substitute.h"
#include "xml/xml_node.h"

namespace ZEM {

// Appends one SArgument per `argument` child of a `constructor-arg` element;
// at least one is required.
void ReadConstructorArguments(CConfiguration& configuration, CReading& reading, const XMLNode& element, SBean& bean,
                              const ParameterMap& parameters, SLibrary* library);

// Appends the properties of a `properties` element or of a loop inside one:
// the `property` children first, then the loops.
void ReadProperties(CConfiguration& configuration, CReading& reading, const XMLNode& element, SBean& bean,
                    const ParameterMap& parameters, SLibrary* library);

// Appends one SProperty, which always ends up with at least one argument.
void ReadProperty(CConfiguration& configuration, CReading& reading, const XMLNode& element, SBean& bean,
                  const ParameterMap& parameters, SLibrary* library);

// Fills `argument` from the first value form that `element` holds: `value`,
// `nullptr`, `ref`, then an inner `bean`, whose record goes to its library
// before the caller's bean. `bean` names the bean being read, for messages.
void ReadArgument(CConfiguration& configuration, CReading& reading, const XMLNode& element, SArgument& argument,
                  const SBean& bean, const ParameterMap& parameters, SLibrary* library);

}  // namespace ZEM
