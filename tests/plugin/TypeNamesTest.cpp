// The section with the plug-in's type names, read out of the built library and out of copies that were stripped or
// linked with section collection, by each compiler, in each link order.

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include <elf.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr char const* typeNames[] = {
    "VaroIntf::IntfStatusReactor",
    "VaroIntf::AllIntfStatusDirSm",
    "VaroIntf::AllIntfDir",
    "VaroIntf::AllIntfReactor",
    "VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor",
    "VaroIntf::AllIntfQueueCounterSliceReactor",
    "VaroIntf::AllIntfQueueCounterReactor",
    "VaroIntf::Agent",
    "VaroErrdisable::IntfSM",
    "VaroErrdisable::AllIntfSM",
    "VaroErrdisable::Root",
};

std::string expected() {
  std::string bytes;
  for (char const* const name : typeNames)
    bytes.append(name, std::strlen(name) + 1);
  return bytes;
}

template <class T>
T at(std::string const& file, std::size_t offset) {
  T value;
  if (offset + sizeof value > file.size()) throw std::runtime_error("truncated ELF file");
  std::memcpy(&value, file.data() + offset, sizeof value);
  return value;
}

/// The bytes of a section of a 64-bit ELF file, nothing when it has none of that name.
std::optional<std::string> section(fs::path const& path, std::string const& name) {
  std::ifstream in(path, std::ios::binary);
  std::string const file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  auto const header = at<Elf64_Ehdr>(file, 0);
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) throw std::runtime_error("not an ELF file");
  auto const sectionHeader = [&](std::size_t index) {
    return at<Elf64_Shdr>(file, header.e_shoff + index * header.e_shentsize);
  };
  auto const names = sectionHeader(header.e_shstrndx);
  for (std::size_t i = 0; i != header.e_shnum; ++i) {
    auto const s = sectionHeader(i);
    if (name == file.c_str() + names.sh_offset + s.sh_name) return file.substr(s.sh_offset, s.sh_size);
  }
  return {};
}

class TypeNames : public testing::Test {
 protected:
  TypeNames() {
    std::string pattern = (fs::temp_directory_path() / "varo-type-names-XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
  }
  ~TypeNames() override { fs::remove_all(folder_); }

  static bool run(std::string const& command) { return std::system((command + " 2>&1").c_str()) == 0; }
  static bool has(std::string const& tool) { return run("command -v " + tool + " > /dev/null"); }

  fs::path folder_;
};

TEST_F(TypeNames, TheLibraryHoldsExactlyTheElevenNames) {
  auto const names = section(VARO_LIBVARO_FILE, ".zon.type");
  ASSERT_TRUE(names);
  EXPECT_EQ(names->size(), 321u);
  EXPECT_EQ(*names, expected());
}

TEST_F(TypeNames, OtherLibrariesHaveNoSuchSection) {
  EXPECT_FALSE(section(VARO_LIBZON_FILE, ".zon.type"));
  EXPECT_FALSE(section(VARO_LIBPLATFORM_FILE, ".zon.type"));
}

TEST_F(TypeNames, TheSectionSurvivesStrip) {
  if (!has("strip")) GTEST_SKIP() << "no strip on this machine";
  fs::path const copy = folder_ / "libvaro.so";
  ASSERT_TRUE(run("strip --strip-all -o " + copy.string() + " " VARO_LIBVARO_FILE));
  EXPECT_FALSE(section(copy, ".symtab")) << "it was stripped";
  EXPECT_EQ(section(copy, ".zon.type"), expected());
}

TEST_F(TypeNames, TheSectionSurvivesSectionCollectionInEveryLinkOrder) {
  std::ofstream(folder_ / "other.cpp") << "[[gnu::used, gnu::section(\".other\")]] static int unrelated = 1;\n"
                                          "int unused() { return 2; }\nint used() { return 3; }\n";
  int compilers = 0;
  for (std::string const compiler : {"g++", "clang++"}) {
    if (!has(compiler)) continue;
    ++compilers;
    for (std::string const level : {"-O0", "-O2"}) {
      std::string const compile = compiler + " -std=c++20 -fPIC -ffunction-sections -fdata-sections " + level + " -c ";
      fs::path const names = folder_ / "names.o";
      fs::path const other = folder_ / "other.o";
      ASSERT_TRUE(run(compile + VARO_SOURCE_DIR "/plugin/TypeNames.cpp -o " + names.string()));
      ASSERT_TRUE(run(compile + (folder_ / "other.cpp").string() + " -o " + other.string()));
      for (std::string const& objects :
           {names.string() + " " + other.string(), other.string() + " " + names.string()}) {
        fs::path const library = folder_ / "lib.so";
        ASSERT_TRUE(run(compiler + " -shared -Wl,--gc-sections -s -o " + library.string() + " " + objects));
        EXPECT_EQ(section(library, ".zon.type"), expected()) << compiler << " " << level << " " << objects;
      }
    }
  }
  if (compilers == 0) GTEST_SKIP() << "no compiler on this machine";
}

}  // namespace
