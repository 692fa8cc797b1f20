#include "base/CException.h"

#include <cxxabi.h>

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <typeinfo>

namespace KX {

struct CException::Record {
  CString type;
  int line;
  CString file;
  CString where;
  CString message;
};

namespace {

CString text(const char* s) {
  return s != nullptr ? CString(static_cast<int>(std::strlen(s)), s, kCopy) : CString();
}

// The demangled type of the exception being handled.
CString currentTypeName() {
  const std::type_info* type = abi::__cxa_current_exception_type();
  if (type == nullptr) return text("unknown exception");
  int status = 0;
  char* demangled = abi::__cxa_demangle(type->name(), nullptr, nullptr, &status);
  CString name = text(status == 0 ? demangled : type->name());
  std::free(demangled);
  return name;
}

}  // namespace

CException::CException(const char* type, int line, const char* file, const char* where, const CString& message)
    : record(std::make_shared<const Record>(Record{text(type), line, text(file), text(where), message})) {}

CException::CException(const char* type, int line, const char* file, const char* where, const char* message)
    : CException(type, line, file, where, text(message)) {}

CException::~CException() = default;

const char* CException::what() const noexcept { return record->message.desc(); }
const CString& CException::getType() const noexcept { return record->type; }
int CException::getLine() const noexcept { return record->line; }
const CString& CException::getFile() const noexcept { return record->file; }
const CString& CException::getWhere() const noexcept { return record->where; }
const CString& CException::getMessage() const noexcept { return record->message; }

void CException::print(std::FILE* out) const {
  std::fprintf(out, "%s: %s [%s, %s:%d]\n", record->type.desc(), record->message.desc(), record->where.desc(),
               record->file.desc(), record->line);
}

void CException::raise(int line, const char* file, const char* where, const char* format, ...) {
  CString message;
  va_list args;
  va_start(args, format);
  message.init(format, args);
  va_end(args);
  throw CException("KX::CException", line, file, where, message);
}

CException CException::fromCurrentException(const char* where) {
  try {
    throw;
  } catch (const CException& e) {
    return e;
  } catch (const std::exception& e) {
    return CException(currentTypeName().desc(), 0, "", where, e.what());
  } catch (...) {
    return CException(currentTypeName().desc(), 0, "", where, "an exception that is not a std::exception");
  }
}

}  // namespace KX
