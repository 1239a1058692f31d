#pragma once

#include "mdl/Export.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace Mdl {

/// Base of every exception that the framework raises for bad input. A broken invariant is not an
/// exception: it is an assertion (mdl/Assert.h).
class MDL_EXPORT Exception : public std::runtime_error {
 public:
   explicit Exception(std::string const& what);
   ~Exception() override;
};

/// A mutator that requires an entity was given null. Nothing has changed.
class MDL_EXPORT NullArgumentException : public Exception {
 public:
   /// `typeName` owns the mutator, `attribute` is what it would have changed.
   NullArgumentException(std::string_view typeName, std::string_view attribute);
   ~NullArgumentException() override;
};

/// A value lies outside what its type can hold. Nothing has changed.
class MDL_EXPORT RangeException : public Exception {
 public:
   explicit RangeException(std::string const& what);
   ~RangeException() override;
};

/// A text is not the representation of a value of the wanted type.
class MDL_EXPORT ParseException : public Exception {
 public:
   explicit ParseException(std::string const& what);
   ~ParseException() override;
};

/// A name, an identifier or an argument list does not fit the reflected type.
class MDL_EXPORT ReflectionException : public Exception {
 public:
   explicit ReflectionException(std::string const& what);
   ~ReflectionException() override;
};

}  // namespace Mdl
