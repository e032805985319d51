// What a manager does with descriptors, names and mappings of its process. Every test is a process of its own.

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include "Zon/Exception.h"
#include "platform/Pelto/ShmemMan.h"
#include "platform/Pelto/ShmemObject.h"
#include "support/ChildProcess.h"

namespace {

using Pelto::ShmemMan;
using Pelto::ShmemObject;
using Support::ChildProcess;

std::string newName() {
  static int serial = 0;
  return "VaroDescriptors-" + std::to_string(::getpid()) + "-" + std::to_string(++serial);
}

/// Runs the body in a child, which dies of the first check that fails.
void inChild(std::function<void()> const& body) {
  ChildProcess child([&] {
    body();
    return 0;
  });
  EXPECT_EQ(child.finish(), 0);
}

void check(bool good, char const* what) {
  if (good) return;
  std::fprintf(stderr, "child: not so: %s\n", what);
  ChildProcess::leave(1);
}

bool isOpen(int fd) { return ::fcntl(fd, F_GETFD) >= 0; }

std::ptrdiff_t openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

bool isMapped(std::string const& name) {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);)
    if (line.find(name) != std::string::npos) return true;
  return false;
}

/// The private objects of this process that have a name.
int namedPrivateObjects() {
  int found = 0;
  for (auto const& entry : std::filesystem::directory_iterator("/dev/shm"))
    found += entry.path().filename().string().starts_with("~varo." + std::to_string(::getpid()) + ".") ? 1 : 0;
  return found;
}

// First in this file: from the first private manager on a process counts its forks, and a fork shares everything.
TEST(ShmemDescriptors, AMakerOfANamedObjectWaitsForTheLockThoughItsProcessNeverForked) {
  std::string const name = newName();
  auto const manager = Zon::newPtr<ShmemMan>(name);
  int ready[2];
  int released[2];
  ASSERT_EQ(::pipe(ready), 0);
  ASSERT_EQ(::pipe(released), 0);
  // Interrupts the wait: it is not restarted by itself.
  struct sigaction heard {};
  heard.sa_handler = [](int) {};
  struct sigaction before {};
  ASSERT_EQ(::sigaction(SIGUSR1, &heard, &before), 0);
  ChildProcess child([&] {
    int const fd = ::shm_open(ShmemObject::objectName(name).c_str(), O_RDWR, 0);
    struct flock whole {};
    whole.l_type = F_WRLCK;
    check(::fcntl(fd, F_SETLKW, &whole) == 0, "locked");
    check(::write(ready[1], "r", 1) == 1, "ready");
    ::usleep(50'000);
    check(::kill(::getppid(), SIGUSR1) == 0, "the waiting one is interrupted");
    ::usleep(50'000);
    check(::write(released[1], "r", 1) == 1, "released");
    return 0;  // with the process goes the lock
  });
  char byte;
  ASSERT_EQ(::read(ready[0], &byte, 1), 1);
  manager->newCounterBlock("a");
  struct pollfd was = {released[0], POLLIN, 0};
  EXPECT_EQ(::poll(&was, 1, 0), 1) << "made a block while another process held the lock";
  EXPECT_EQ(child.finish(), 0);
  EXPECT_EQ(::sigaction(SIGUSR1, &before, nullptr), 0);
  for (int const fd : {ready[0], ready[1], released[0], released[1]})
    ::close(fd);
  EXPECT_TRUE(ShmemMan::unlink(name));
}

TEST(ShmemDescriptors, DescriptorZeroServesLikeAnyOther) {
  std::string const name = newName();
  inChild([&] {
    ::close(0);
    {
      auto const manager = Zon::newPtr<ShmemMan>();
      check(isOpen(0), "a private manager has descriptor 0");
      check(namedPrivateObjects() == 0, "a private object has no name");
      manager->newCounterBlock("a");
    }
    check(!isOpen(0), "a private manager closed it");
    {
      auto const manager = Zon::newPtr<ShmemMan>(name);
      check(isOpen(0), "a named manager has descriptor 0");
      manager->newCounterBlock("a");
    }
    check(!isOpen(0), "a named manager closed it");
    check(ShmemMan::attach(name)->counterBlocks() == 1, "attached");
  });
  EXPECT_TRUE(ShmemMan::unlink(name));
}

TEST(ShmemDescriptors, ARefusedObjectLeavesNoDescriptor) {
  std::string const name = newName();
  int const alien = ::shm_open(ShmemObject::objectName(name).c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
  ASSERT_GE(alien, 0);
  ASSERT_EQ(::write(alien, "something else", 14), 14);
  ::close(alien);
  inChild([&] {
    ::close(0);
    auto const before = openDescriptors();
    try {
      ShmemMan::attach(name);
      check(false, "refused");
    } catch (Zon::RangeException const&) {
    }
    check(openDescriptors() == before, "as many descriptors as before");
  });
  EXPECT_TRUE(ShmemMan::unlink(name));
}

TEST(ShmemDescriptors, AnOldErrorOpensNothingTwice) {
  std::string const name = newName();
  auto const first = Zon::newPtr<ShmemMan>(name);
  auto const before = openDescriptors();
  errno = ENOENT;
  {
    auto const second = Zon::newPtr<ShmemMan>(name);
    EXPECT_EQ(openDescriptors(), before + 1);
    // Nor is it waited for again.
    errno = EINTR;
    EXPECT_TRUE(second->newCounterBlock("a"));
  }
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_TRUE(ShmemMan::unlink(name));
}

TEST(ShmemDescriptors, AHeaderThatCannotBeWrittenIsToldAsSuch) {
  std::string const name = newName();
  inChild([&] {
    std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit const none = {0, RLIM_INFINITY};
    check(::setrlimit(RLIMIT_FSIZE, &none) == 0, "limited");
    std::string refused;
    try {
      Zon::newPtr<ShmemMan>(name);
    } catch (Zon::RangeException const& exception) {
      refused = exception.what();
    }
    check(refused.find("cannot write its header") != std::string::npos, refused.c_str());
  });
  ShmemMan::unlink(name);
}

TEST(ShmemDescriptors, AHeaderOfAnImpossibleCapacityIsFaulty) {
  std::string const name = newName();
  auto const manager = Zon::newPtr<ShmemMan>(name);
  int const fd = ::shm_open(ShmemObject::objectName(name).c_str(), O_RDWR, 0);
  ShmemObject::Header header{};
  ASSERT_EQ(::pread(fd, &header, sizeof header, 0), static_cast<ssize_t>(sizeof header));
  ::close(fd);
  EXPECT_EQ(ShmemObject::shapeFault(header), "");
  for (std::uint64_t const capacity :
       {std::uint64_t{0}, std::uint64_t{sizeof header} - 1, std::uint64_t{PTRDIFF_MAX} + 1, ~std::uint64_t{0}}) {
    header.capacity = capacity;
    EXPECT_NE(ShmemObject::shapeFault(header), "") << capacity;
  }
  EXPECT_TRUE(ShmemMan::unlink(name));
}

TEST(ShmemDescriptors, ADyingManagerUnmapsItsObject) {
  std::string const name = newName();
  {
    auto const manager = Zon::newPtr<ShmemMan>(name);
    EXPECT_TRUE(isMapped(name));
  }
  EXPECT_FALSE(isMapped(name));
  EXPECT_TRUE(ShmemMan::unlink(name));
}

TEST(ShmemDescriptors, APrivateManagerFindsANameThatIsFree) {
  inChild([] {
    // Whatever number is next: the names of many are taken.
    std::vector<std::string> taken;
    for (int i = 0; i != 300; ++i) {
      taken.push_back("/~varo." + std::to_string(::getpid()) + "." + std::to_string(i));
      int const fd = ::shm_open(taken.back().c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
      check(fd >= 0, "taken");
      ::close(fd);
    }
    std::string failed;
    try {
      Zon::newPtr<ShmemMan>()->newCounterBlock("a");
    } catch (Zon::RangeException const& exception) {
      failed = exception.what();
    }
    for (auto const& path : taken)
      ::shm_unlink(path.c_str());
    check(failed.empty(), failed.c_str());
  });
}

}  // namespace
