#include "Zon/Exception.h"

#include "Zon/Trace.h"

namespace Zon {

Exception::Exception(String8 text, IdBitArray const& ids, bool flag) noexcept
  : text_(std::move(text)), ids_(ids), flag_(flag) {}

char const* Exception::what() const noexcept { return text_.cStr(); }

void Exception::IdBitArray::idIs(unsigned id) {
  require(id < capacity, "id < capacity", "Zon/Exception", __LINE__, "IdBitArray::idIs");
  words_[id / 64] |= std::uint64_t{1} << (id % 64);
}

// The destructors are the key functions: each class has its type information here and nowhere else.
Exception::~Exception() = default;
RangeException::~RangeException() = default;
NameInUseException::~NameInUseException() = default;
ConstException::~ConstException() = default;
TypeException::~TypeException() = default;
UnknownArgException::~UnknownArgException() = default;
BadIndexAttrException::~BadIndexAttrException() = default;
OpNotSupportedException::~OpNotSupportedException() = default;
ConversionException::~ConversionException() = default;

OpNotSupportedException::OpNotSupportedException(String8 attribute, unsigned opId, bool flag)
  : Exception(format("%s: operation %lld not supported", attribute, opId), IdBitArray(), flag),
    attribute_(std::move(attribute)),
    opId_(opId) {}

void throwRangeException(String8 text) { throw RangeException(std::move(text)); }

void throwNameInUseException(String8 text) { throw NameInUseException(std::move(text)); }

char const* Expect::textOfCurrent() noexcept {
  // The handler that called keeps the exception, and so its text, alive.
  try {
    throw;
  } catch (std::exception const& exception) {
    return exception.what();
  } catch (...) {
    return "unknown exception";
  }
}

}  // namespace Zon
