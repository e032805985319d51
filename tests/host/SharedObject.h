#pragma once

/// \file
/// Named objects of counters for one test, unlike those of any other, gone when it ends.

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "platform/Pelto/ShmemMan.h"

class SharedObjects {
 public:
  SharedObjects() : prefix_("varo-test-" + std::to_string(::getpid()) + "-") {}
  ~SharedObjects() {
    for (std::string const& name : made_) {
      Pelto::ShmemMan::unlink(name);
    }
  }
  SharedObjects(SharedObjects const&) = delete;
  SharedObjects& operator=(SharedObjects const&) = delete;

  /// A name of this test's own; its object is removed at the end, whoever makes it.
  std::string name(std::string const& word) {
    made_.insert(prefix_ + word);
    return prefix_ + word;
  }
  std::string const& prefix() const { return prefix_; }

  static void set(Pelto::ShmemMan& manager, Zon::String8 const& block, std::uint64_t value) {
    auto* const data = manager.newCounterBlock(block)->data();
    std::atomic_ref(*reinterpret_cast<std::uint64_t*>(data)).store(value);
  }
  static std::string path(std::string const& name) { return "/dev/shm" + Pelto::ShmemObject::objectName(name); }
  /// Writes over the object as another program might.
  static void overwrite(std::string const& name, std::uint64_t at, std::string const& bytes) {
    int const descriptor = ::shm_open(Pelto::ShmemObject::objectName(name).c_str(), O_RDWR, 0);
    if (::pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(at)) < 0) {
      std::abort();
    }
    ::close(descriptor);
  }

 private:
  std::string const prefix_;
  std::set<std::string> made_;
};
