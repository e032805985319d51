// A shared-memory object of any bytes: opened, attached to, walked, looked up in, written over and added to.
//
// An input is the number of bytes of the object (two bytes, high one first), these bytes, and steps: a byte that chooses,
// then what it needs.

#include <cstring>
#include <string>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Fuzz.h"
#include "Zon/Exception.h"
#include "platform/Pelto/ShmemMan.h"

using Fuzz::require;
using Pelto::ShmemMan;
using Zon::Ptr;
using Zon::String8;

namespace {

/// The object as another process has it.
class Object {
 public:
  explicit Object(std::string_view bytes) : path_("/" + name()) {
    ::shm_unlink(path_.c_str());
    descriptor_ = ::shm_open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    require(descriptor_ >= 0, "there is shared memory");
    write(0, bytes);
  }
  Object(Object const&) = delete;
  Object& operator=(Object const&) = delete;
  ~Object() {
    ::close(descriptor_);
    ::shm_unlink(path_.c_str());
  }

  static std::string name() { return "varo-fuzz." + std::to_string(::getpid()); }

  void write(std::size_t offset, std::string_view bytes) const {
    require(::pwrite(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(offset)) ==
                static_cast<ssize_t>(bytes.size()),
            "the object can be written");
  }
  std::size_t size() const {
    struct stat facts {};
    require(::fstat(descriptor_, &facts) == 0, "the object has a size");
    return static_cast<std::size_t>(facts.st_size);
  }
  std::string bytes(std::size_t count) const {
    std::string text(count, '\0');
    require(::pread(descriptor_, text.data(), count, 0) == static_cast<ssize_t>(count), "the object can be read");
    return text;
  }

 private:
  std::string const path_;
  int descriptor_ = -1;
};

std::string contents(Pelto::CounterBlock const& block) {
  return {reinterpret_cast<char const*>(block.data()), block.size()};
}

/// Every block that is met is found by its name; they lie apart.
void walk(Ptr<ShmemMan> const& manager) {
  std::byte const* last = nullptr;
  std::uint32_t count = 0;
  for (auto at = manager->counterBlockIterator(); at; at.advance()) {
    require(manager->counterBlock(at.key()) == at.ptr(), "a block is found by its name");
    require(reinterpret_cast<std::uintptr_t>(at->data()) % 64 == 0, "a block is aligned");
    require(last == nullptr || at->data() >= last + at->size(), "blocks lie apart");
    last = at->data();
    contents(*at);
    ++count;
  }
  require(manager->counterBlocks() == count, "every block is counted");
}

void make(Ptr<ShmemMan> const& manager, String8 const& name) {
  Ptr<Pelto::CounterBlock> const known = manager->counterBlock(name);
  std::uint32_t const before = manager->counterBlocks();
  try {
    Ptr<Pelto::CounterBlock> const block = manager->newCounterBlock(name);
    require(!known || block == known, "a block that is there is returned");
    require(known || contents(*block) == std::string(64, '\0'), "a new block is zero");
    require(manager->counterBlock(name) == block, "a new block is found");
  } catch (Zon::RangeException const&) {
    require(!known && manager->counterBlocks() == before, "a refused block is not there");
  }
}

template <class Open>
Ptr<ShmemMan> opened(Object const& object, Open const& open) {
  std::string const before = object.bytes(object.size());
  try {
    return open();
  } catch (Zon::RangeException const&) {
    require(object.bytes(object.size()) == before, "a refused object is left alone");
    return nullptr;
  }
}

Ptr<ShmemMan> attach(Object const& object) {
  return opened(object, [] { return ShmemMan::attach(Object::name()); });
}

/// As its maker, who gives an empty object its header.
Ptr<ShmemMan> open(Object const& object, std::uint64_t capacity) {
  bool const isNew = object.size() == 0;
  auto const manager = opened(object, [&] { return Zon::newPtr<ShmemMan>(Object::name(), capacity); });
  require(!isNew || !manager || manager->counterBlocks() == 0, "a new object has no blocks");
  return manager;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  Fuzz::Input input(data, size);
  std::size_t const high = input.byte();
  Object const object(input.bytes(high << 8U | input.byte()));
  Ptr<ShmemMan> manager = attach(object);
  while (!input.atEnd()) {
    switch (input.choice(7)) {
    case 0:
      if (manager) walk(manager);
      break;
    case 1: {
      String8 const name(input.bytes(input.byte()));
      if (manager) manager->counterBlock(name);
      break;
    }
    case 2: {
      String8 const name(input.bytes(input.byte()));
      if (manager) make(manager, name);
      break;
    }
    case 3: {
      // Another process writes where it should not.
      std::size_t const offset = std::size_t{input.byte()} * 16;
      object.write(offset, input.bytes(input.choice(32)));
      break;
    }
    case 4:
      if (Ptr<ShmemMan> const other = attach(object)) {
        walk(other);
        make(other, String8(input.bytes(input.byte())));
      }
      break;
    case 5:
      manager = nullptr;
      manager = attach(object);
      break;
    default:
      manager = nullptr;
      manager = open(object, std::uint64_t{input.byte()} * 64);
    }
  }
  if (manager) walk(manager);
  return 0;
}
