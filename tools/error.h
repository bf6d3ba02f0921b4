// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_ERROR_H_
#define ZAV_TOOLS_ERROR_H_

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace zav::tool {

/// What went wrong, as the exit code tells it. Scripts rely on these numbers.
enum class ErrorKind {
  kUsage = 1,
  kInputOutput = 2,
  kBadFile = 3,
  kNotSupported = 5,
};

/// Not an error: what `zav compare` answers when the pictures are not the same.
constexpr int kExitDiffer = 7;

/// Ends a command. Printed as "zav: SUBJECT: what"; the subject is a file, or empty.
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

/// The system's refusal of something done to `file`.
inline Error SystemError(const std::string& file, int code = errno) {
  return Error(ErrorKind::kInputOutput, file, std::strerror(code));
}

}  // namespace zav::tool

#endif  // ZAV_TOOLS_ERROR_H_
