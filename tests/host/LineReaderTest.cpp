#include "host/LineReader.h"

#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

using VaroHost::LineReader;

namespace {

/// A pipe that holds what is written to it.
class Pipe {
 public:
  Pipe() {
    EXPECT_EQ(::pipe(ends_), 0);
    ::fcntl(ends_[1], F_SETPIPE_SZ, 1 << 20);
  }
  ~Pipe() {
    ::close(ends_[0]);
    closeWriter();
  }
  int reader() const { return ends_[0]; }
  void write(std::string const& text) {
    ASSERT_EQ(::write(ends_[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void closeWriter() {
    if (ends_[1] >= 0) {
      ::close(ends_[1]);
      ends_[1] = -1;
    }
  }

 private:
  int ends_[2];
};

/// A file that is deleted already.
class TemporaryFile {
 public:
  explicit TemporaryFile(std::string const& text) {
    std::string name = (std::filesystem::temp_directory_path() / "varo-lines-XXXXXX").string();
    descriptor_ = ::mkstemp(name.data());
    ::unlink(name.c_str());
    EXPECT_EQ(::write(descriptor_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    ::lseek(descriptor_, 0, SEEK_SET);
  }
  ~TemporaryFile() { ::close(descriptor_); }
  int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

std::vector<std::string> readAll(std::string const& text) {
  TemporaryFile const file(text);
  LineReader lines(file.descriptor());
  std::vector<std::string> events;
  while (true) {
    switch (lines.next()) {
    case LineReader::Result::line:
      events.push_back(std::to_string(lines.number()) + ":" + std::string(lines.line().substr(0, 20)));
      break;
    case LineReader::Result::tooLong:
      events.push_back(std::to_string(lines.number()) + ":too long");
      break;
    case LineReader::Result::again:
      break;
    case LineReader::Result::end:
      EXPECT_EQ(lines.offset(), text.size());
      return events;
    case LineReader::Result::failed:
      events.push_back("failed");
      return events;
    }
  }
}

using Strings = std::vector<std::string>;

}  // namespace

TEST(LineReader, AnEmptyFileHasNoLines) { EXPECT_EQ(readAll(""), Strings{}); }

TEST(LineReader, TheLastLineNeedsNoNewline) {
  EXPECT_EQ(readAll("a\n\nb"), (Strings{"1:a", "2:", "3:b"}));
  EXPECT_EQ(readAll("a\nb\n"), (Strings{"1:a", "2:b"}));
}

TEST(LineReader, ALineOfTheLimitIsReadAndOneByteMoreIsSkipped) {
  std::string const longest(LineReader::maxLineBytes, 'x');
  EXPECT_EQ(readAll(longest + "\nb\n"), (Strings{"1:xxxxxxxxxxxxxxxxxxxx", "2:b"}));
  EXPECT_EQ(readAll(longest + "x\nb\n"), (Strings{"1:too long", "2:b"}));
}

TEST(LineReader, AHugeLineIsSkippedWholeWhereverItStands) {
  std::string const huge(5 * LineReader::maxLineBytes + 7, 'x');
  EXPECT_EQ(readAll("a\n" + huge + "\nb\n"), (Strings{"1:a", "2:too long", "3:b"}));
  EXPECT_EQ(readAll(huge), (Strings{"1:too long"}));
}

TEST(LineReader, ManyLinesKeepTheirOrderAcrossBuffers) {
  std::string text;
  std::string const filler(999, 'y');
  for (int at = 0; at < 5000; ++at) {
    text += std::to_string(at) + " " + filler + "\n";
  }
  auto const events = readAll(text);
  ASSERT_EQ(events.size(), 5000U);
  for (std::size_t at = 0; at < events.size(); ++at) {
    ASSERT_TRUE(events[at].starts_with(std::to_string(at + 1) + ":" + std::to_string(at) + " ")) << events[at];
  }
}

TEST(LineReader, APipeIsReadOnceACall) {
  Pipe pipe;
  LineReader lines(pipe.reader());
  pipe.write("one\ntw");
  EXPECT_FALSE(lines.hasLine());
  EXPECT_EQ(lines.next(), LineReader::Result::line);
  EXPECT_EQ(lines.line(), "one");
  EXPECT_FALSE(lines.hasLine());
  pipe.write("o");
  EXPECT_EQ(lines.next(), LineReader::Result::again);
  pipe.write("\nthree");
  EXPECT_EQ(lines.next(), LineReader::Result::line);
  EXPECT_EQ(lines.line(), "two");
  pipe.closeWriter();
  EXPECT_EQ(lines.next(), LineReader::Result::line);
  EXPECT_EQ(lines.line(), "three");
  EXPECT_EQ(lines.next(), LineReader::Result::end);
}

TEST(LineReader, WhatCannotBeReadIsAnError) {
  LineReader lines(-1);
  EXPECT_EQ(lines.next(), LineReader::Result::failed);
  EXPECT_EQ(lines.error(), EBADF);
}
