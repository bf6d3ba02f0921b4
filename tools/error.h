// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_ERROR_H_
#define ZAV_TOOLS_ERROR_H_

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace zav::tool {

/// What went wrong, as an exit code. Scripts rely on these numbers.
enum class ErrorKind {
  kUsage = 1,
  kInputOutput = 2,
  kBadFile = 3,
  kNotSupported = 5,
};

/// The exit code of `zav compare` for pictures that differ, which is not an error.
constexpr int kExitDiffer = 7;

/// Ends a command and is printed as "zav: SUBJECT: what"; the subject is a file, or empty.
class Error : public std::runtime_error {
 public:
  Error(ErrorKind kind, std::string subject, const std::string& what)
      : std::runtime_error(what), kind_(kind), subject_(std::move(subject)) {}

  int exit_code() const { return static_cast<int>(kind_); }
  const std::string& subject() const { return subject_; }

 private:
  ErrorKind kind_;
  std::string subject_;
};

/// Adds to the names that a message lists.
inline void AddName(std::string& names, std::string_view name, std::string_view separator = ", ") {
  if (!names.empty()) names += separator;
  names += name;
}

inline Error UsageError(const std::string& what, const std::string& subject = "") {
  return Error(ErrorKind::kUsage, subject, what);
}

inline Error BadFile(const std::string& file, const std::string& what) {
  return Error(ErrorKind::kBadFile, file, what);
}

inline Error NotSupported(const std::string& subject, const std::string& what) {
  return Error(ErrorKind::kNotSupported, subject, what);
}

/// An operation on `file` that the system refused.
inline Error SystemError(const std::string& file, int code = errno) {
  return Error(ErrorKind::kInputOutput, file, std::strerror(code));
}

}  // namespace zav::tool

#endif  // ZAV_TOOLS_ERROR_H_
