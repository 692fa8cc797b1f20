#pragma once
// KX::CException: the framework's error, a std::exception carrying the type name,
// source line and file, the operation (where) and a message. Its type information
// lives in libkx, so a throw in a dlopen'ed module is caught by type in the host.
// Copies share one immutable record and never throw.

#include "base/CString.h"
#include "base/KXExport.h"

#include <cstdio>
#include <exception>
#include <memory>

namespace KX {

class KX_EXPORT CException : public std::exception {
public:
  CException(const char* type, int line, const char* file, const char* where, const CString& message);
  CException(const char* type, int line, const char* file, const char* where, const char* message);
  CException(const CException&) noexcept = default;
  CException& operator=(const CException&) noexcept = default;
  ~CException() override;

  // The message.
  const char* what() const noexcept override;

  const CString& getType() const noexcept;
  int getLine() const noexcept;
  const CString& getFile() const noexcept;
  const CString& getWhere() const noexcept;
  const CString& getMessage() const noexcept;

  // One line: "<type>: <message> [<where>, <file>:<line>]".
  void print(std::FILE* out = stderr) const;

  // Throws a CException of type "KX::CException" with a printf-style message.
  [[noreturn]] static void raise(int line, const char* file, const char* where, const char* format, ...)
      __attribute__((format(printf, 4, 5)));

  // The exception being handled, as a CException: itself when it is one, else its
  // type name and what() (or a note that it is no std::exception). Call only from
  // inside a catch block.
  static CException fromCurrentException(const char* where);

private:
  struct Record;
  std::shared_ptr<const Record> record;
};

}  // namespace KX
