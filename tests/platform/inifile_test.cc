#include "platform/inifile.h"

#include <gtest/gtest.h>

#include <array>

#include "platform/status.h"
#include "tests/support/temp_dir.h"

namespace {

std::string value(const std::string& file, const std::string& section, const std::string& entry) {
  std::array<char, 16> buffer{};
  InifileGetValueA(file, section, entry, buffer.data(), buffer.size());
  return buffer.data();
}

TEST(Inifile, KeepsWhatWasSavedAndCutsLongValues) {
  const support::TempDir dir;
  const std::string file = (dir.path() / "a.cfg").string();
  InifileSaveNewA(file, "Section.One", "Entry.A", "first");
  InifileSaveValueA(file, "Section.One", "B", "x=y;z");
  InifileSaveValueA(file, "Two", "Entry.A", "0123456789abcdefgh");
  InifileSaveValueA(file, "Section.One", "Entry.A", "second");
  EXPECT_EQ(value(file, "Section.One", "Entry.A"), "second");
  EXPECT_EQ(value(file, "Section.One", "B"), "x=y;z");
  EXPECT_EQ(value(file, "Two", "Entry.A"), "0123456789abcde");
  EXPECT_THROW(InifileSaveValueA(file, "Two", "C", "two\nlines"), Cr_ErrnoException);
}

}  // namespace
