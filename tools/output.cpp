// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "output.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "error.h"
#include "input.h"

namespace zav::tool {
namespace {

// --- removing temporaries when a signal ends the command -----------------------------------------

// Fixed storage: a signal handler may not follow pointers that the program is changing.
struct PendingRemoval {
  volatile std::sig_atomic_t active;
  char path[PATH_MAX];
};
std::array<PendingRemoval, 4> pending_removals;

extern "C" void RemovePendingAndDie(int signal) {
  for (const PendingRemoval& pending : pending_removals) {
    if (pending.active != 0) ::unlink(pending.path);
  }
  ::raise(signal);  // the handler is used only once: this kills the process
}

void RemoveOnSignal(const std::string& path) {
  static const bool installed = [] {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
      struct sigaction action = {};
      struct sigaction before = {};
      action.sa_handler = RemovePendingAndDie;
      action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
      ::sigaction(signal, nullptr, &before);
      if (before.sa_handler != SIG_IGN) ::sigaction(signal, &action, nullptr);
    }
    return true;
  }();
  static_cast<void>(installed);
  for (PendingRemoval& pending : pending_removals) {
    if (pending.active != 0 || path.size() >= sizeof(pending.path)) continue;
    std::memcpy(pending.path, path.c_str(), path.size() + 1);
    pending.active = 1;
    return;
  }
}

void ForgetOnSignal(const std::string& path) {
  for (PendingRemoval& pending : pending_removals) {
    if (pending.active != 0 && path == pending.path) pending.active = 0;
  }
}

// -------------------------------------------------------------------------------------------------

mode_t NewFileMode() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

void WriteAll(int file, const std::string& name, const void* data, size_t size) {
  const char* next = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t written = ::write(file, next, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) throw SystemError(name, written == 0 ? EIO : errno);
    next += written;
    size -= static_cast<size_t>(written);
  }
}

/// The target of links, even when it does not exist yet.
std::string ResolveLinks(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_symlink(path, error)) return path;
  const std::filesystem::path resolved = std::filesystem::weakly_canonical(path, error);
  return error ? path : resolved.string();
}

}  // namespace

Output::Output(const std::string& target)
    : name_(target), target_(ResolveLinks(target)), standard_(target == kStandard) {
  if (!standard_) {
    Prepare();
  } else if (::fcntl(STDOUT_FILENO, F_GETFD) < 0) {
    throw SystemError(name_);
  } else if (::isatty(STDOUT_FILENO) != 0) {
    throw UsageError("standard output is a terminal; redirect it", name_);
  } else {
    target_ = (std::filesystem::temp_directory_path() / kStandard).string();
  }
  const std::filesystem::path place(target_);
  const std::string ending = place.extension().string();
  path_ = (place.parent_path() / fmt::format(".zav-XXXXXX{}", ending)).string();
  const int number = ::mkostemps(path_.data(), static_cast<int>(ending.size()), O_CLOEXEC);
  if (number < 0) throw SystemError(name_);
  file_.Reset(number);
  RemoveOnSignal(path_);
}

/// Checks the file that is replaced, if any.
void Output::Prepare() {
  struct stat status = {};
  replaces_ = ::stat(target_.c_str(), &status) == 0;
  if (replaces_) {
    if (S_ISDIR(status.st_mode)) throw SystemError(name_, EISDIR);
    if (!S_ISREG(status.st_mode)) {
      throw Error(ErrorKind::kInputOutput, name_, "is not a regular file");
    }
    // Renaming ignores write permission, but a protected file must not be replaced.
    if (::access(target_.c_str(), W_OK) != 0) throw SystemError(name_);
  }
  mode_ = replaces_ ? status.st_mode & 0777 : NewFileMode();
  owner_ = status.st_uid;
  group_ = status.st_gid;
}

Output::~Output() {
  if (path_.empty()) return;
  ::unlink(path_.c_str());
  ForgetOnSignal(path_);
}

void Output::Write(const void* data, size_t size) { WriteAll(file_.get(), name_, data, size); }

void Output::CheckSize(int64_t size) {
  struct stat status = {};
  if (::fstat(file_.get(), &status) != 0) throw SystemError(name_);
  if (status.st_size == size) return;
  // The reason that stopped the writer probably persists.
  if (status.st_size < size) CheckRoom(size);
  throw Error(ErrorKind::kInputOutput, name_,
              fmt::format("was not written completely: {} of {} bytes", status.st_size, size));
}

void Output::CheckRoom(int64_t size) {
  const int refusal = ::posix_fallocate(file_.get(), 0, size);
  if (refusal != 0) throw SystemError(name_, refusal);
}

void Output::BringToDisk() {
  // Keeps another owner if the system allows it.
  if (replaces_ && (owner_ != ::geteuid() || group_ != ::getegid())) {
    static_cast<void>(!::fchown(file_.get(), owner_, group_));
  }
  if (::fchmod(file_.get(), mode_) != 0) throw SystemError(name_);
  // Some file systems cannot sync and return EINVAL.
  if (::fsync(file_.get()) != 0 && errno != EINVAL) throw SystemError(name_);
  if (::close(file_.Release()) != 0) throw SystemError(name_);
}

void Output::TakeName() {
  if (std::rename(path_.c_str(), target_.c_str()) != 0) throw SystemError(name_);
  ForgetOnSignal(path_);
  path_.clear();
  // The new name reaches the disk with its directory. The file itself is safe, so it is not a
  // failure if a file system cannot sync directories.
  std::filesystem::path directory = std::filesystem::path(target_).parent_path();
  if (directory.empty()) directory = ".";
  const FileDescriptor folder(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder.get() >= 0) static_cast<void>(::fsync(folder.get()));
}

/// Removes the temporary first: if the reader closes the pipe, SIGPIPE kills this process.
void Output::CopyToStandardOutput() {
  const FileView view(path_);
  ::unlink(path_.c_str());
  ForgetOnSignal(path_);
  path_.clear();
  WriteAll(STDOUT_FILENO, name_, view.bytes().data(), view.bytes().size());
}

void Output::Commit(std::initializer_list<Output*> outputs) {
  for (Output* output : outputs) {
    if (!output->standard_) output->BringToDisk();
  }
  for (Output* output : outputs) {
    if (output->standard_) {
      output->CopyToStandardOutput();
    } else {
      output->TakeName();
    }
  }
}

}  // namespace zav::tool
