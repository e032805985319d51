# Turns the examples of the documents into one GoogleTest source: awk -f extract.awk FILE.md... > DocsExamplesTest.cpp
#
#   ```cpp example=NAME    code; blocks of one NAME are joined. With a line `int main() {` it is a program, without one
#                          the statements of a function. Its #include lines go to the top.
#   ```text output=NAME    what the code writes to std::cout, compared whole
#
# Every example needs its output and every output its example. Compilers name the document's file and line.

function fail(text) { print FILENAME ":" FNR ": " text >"/dev/stderr"; failed = 1; exit 1 }

FNR == 1 && kind != "" { fail("the block before this file is not closed") }

kind != "" && /^```[ \t]*$/ { kind = ""; next }
kind == "" && /^```cpp example=[A-Za-z0-9]+$/ {
  kind = "code"
  name = substr($2, 9)
  if (!(name in code)) names[++count] = name
  code[name] = code[name] "#line " (FNR + 1) " \"" FILENAME "\"\n"
  next
}
kind == "" && /^```text output=[A-Za-z0-9]+$/ {
  kind = "output"
  name = substr($2, 8)
  if (name in output) fail("a second output of " name)
  output[name] = ""
  next
}
kind == "" && /^```.*(example|output)=/ { fail("not a fence this script knows: " $0) }
kind == "" && /^```./ { kind = "other"; next }
kind == "" && /^```/ { kind = "other"; next }

kind == "code" && /^#include / { if (!seen[$0]++) includes = includes $0 "\n"; $0 = "" }
kind == "code" && /^int main\(\) \{$/ { sub(/int main/, "void example"); whole[name] = 1 }
kind == "code" { code[name] = code[name] $0 "\n" }
kind == "output" { output[name] = output[name] $0 "\n" }

END {
  if (failed) exit 1
  if (kind != "") fail("the last block is not closed")
  for (name in output) if (!(name in code)) fail("no example for the output " name)
  if (count == 0) fail("no examples")
  print "#include <gtest/gtest.h>\n\n#include <iostream>\n#include <sstream>\n#include <string>\n" includes
  print "static std::string printedBy(void (*example)()) {"
  print "  std::ostringstream printed;\n  std::streambuf* const before = std::cout.rdbuf(printed.rdbuf());"
  print "  try {\n    example();\n  } catch (...) {\n    std::cout.rdbuf(before);\n    throw;\n  }"
  print "  std::cout.rdbuf(before);\n  return printed.str();\n}"
  for (i = 1; i <= count; ++i) {
    name = names[i]
    if (!(name in output)) fail("no output for the example " name)
    print "\nnamespace example" name " {"
    print whole[name] ? code[name] : "void example() {\n" code[name] "}"
    print "}  // namespace example" name
    print "TEST(DocsExamples, " name ") {"
    print "  EXPECT_EQ(printedBy(example" name "::example), R\"===(" output[name] ")===\");\n}"
  }
}
