#include "mdl/Exception.h"

namespace Mdl {

// Constructors and destructors live here so that each class has one type description, in this
// library, and a handler in any other library recognises it.

Exception::Exception(std::string const& what) : std::runtime_error(what) {}
Exception::~Exception() = default;

NullArgumentException::NullArgumentException(std::string_view typeName, std::string_view attribute)
    : Exception(std::string(typeName) + ": mutator argument for " + std::string(attribute) +
                " is a null pointer") {}
NullArgumentException::~NullArgumentException() = default;

RangeException::RangeException(std::string const& what) : Exception(what) {}
RangeException::~RangeException() = default;

ParseException::ParseException(std::string const& what) : Exception(what) {}
ParseException::~ParseException() = default;

ReflectionException::ReflectionException(std::string const& what) : Exception(what) {}
ReflectionException::~ReflectionException() = default;

}  // namespace Mdl
