#include "lmkutils/l10n/assemble_args.h"

#include <iomanip>
#include <limits>
#include <locale>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace {

using du::AssembleArgs;
using testing::ElementsAre;

// A comma in decimals, a point between groups of three digits: as German has it.
class CommaDigits : public std::numpunct<char> {
 protected:
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

std::locale CommaLocale() {
  return std::locale(std::locale::classic(), new CommaDigits);
}

// Insertion of one writes its text, then fails or throws.
struct Faulty {
  const char* text;
  bool throws;
};
std::ostream& operator<<(std::ostream& out, const Faulty& faulty) {
  out << faulty.text;
  if (faulty.throws) throw std::runtime_error("no text");
  out.setstate(std::ios::failbit);
  return out;
}

TEST(AssembleArgsTest, EachInsertedValueIsAnArgument) {
  AssembleArgs args;
  EXPECT_THAT(args.GetArguments(), ElementsAre());
  const char* const pointer = "pointer";
  char array[] = "array";
  args << "text" << pointer << array << std::string("string") << std::string_view("view") << 'c'
       << du::Symbol("symbol") << -1 << 2U << 3L << static_cast<unsigned short>(4)
       << std::numeric_limits<long long>::min() << std::numeric_limits<unsigned long long>::max() << 0.5
       << true << "last";
  EXPECT_THAT(args.GetArguments(),
              ElementsAre("text", "pointer", "array", "string", "view", "c", "symbol", "-1", "2", "3", "4",
                          "-9223372036854775808", "18446744073709551615", "0.5", "1", "last"));
}

TEST(AssembleArgsTest, ManipulatorsAndEmptyTextsAddNone) {
  AssembleArgs args;
  args << 1 << std::hex << std::string("x") << 255 << std::setw(4) << std::setfill('0') << 10 << 10
       << std::flush << std::showbase << 16 << std::setprecision(2) << 3.14159;
  EXPECT_THAT(args.GetArguments(), ElementsAre("1", "x", "ff", "000a", "a", "0x10", "3.1"));

  AssembleArgs empty;
  empty << "" << std::string() << du::Symbol() << std::string_view();
  EXPECT_THAT(empty.GetArguments(), ElementsAre());
  empty.GetStream();
  empty << "" << std::setw(2) << "" << std::string();
  EXPECT_THAT(empty.GetArguments(), ElementsAre("  "));
  empty.AddEmptyArgument() << 'x';
  EXPECT_THAT(empty.GetArguments(), ElementsAre("  ", "", "x"));
  empty << std::endl;  // it writes something
  EXPECT_EQ(empty.GetArguments().back(), "\n");
}

TEST(AssembleArgsTest, FailedInsertionDoesNotSwallowTheNext) {
  AssembleArgs args;
  args << static_cast<const char*>(nullptr) << 1 << std::hex << static_cast<char*>(nullptr) << 10
       << Faulty{"", false} << 11 << Faulty{"half", false} << 12;
  EXPECT_THAT(args.GetArguments(), ElementsAre("", "1", "", "a", "", "b", "half", "c"));
  EXPECT_THROW((args << Faulty{"gone", true}), std::runtime_error);
  args << 13;
  EXPECT_EQ(args.GetArguments().size(), 9U);
  EXPECT_EQ(args.GetArguments().back(), "d");
}

TEST(AssembleArgsTest, DirectOutputJoinsTheNextValue) {
  AssembleArgs args;
  args.GetStream() << "a" << 1;
  args << 2;
  args.GetStream() << "b";
  args.PostInputHandler();
  args.PostInputHandler();
  EXPECT_THAT(args.GetArguments(), ElementsAre("a12", "b"));
}

TEST(AssembleArgsTest, NumbersFollowTheLocale) {
  AssembleArgs german(CommaLocale());
  german << 1234567 << 0.5 << "1.5" << 12345UL;
  EXPECT_THAT(german.GetArguments(), ElementsAre("1.234.567", "0,5", "1.5", "12.345"));

  const std::locale before = std::locale::global(CommaLocale());
  AssembleArgs global;
  AssembleArgs classic(std::locale::classic());
  std::locale::global(before);
  global << 1234567 << 0.5;
  classic << 1234567 << 0.5;
  AssembleArgs after;
  after << 1234567 << 0.5;
  EXPECT_THAT(global.GetArguments(), ElementsAre("1.234.567", "0,5"));
  EXPECT_THAT(classic.GetArguments(), ElementsAre("1234567", "0.5"));
  EXPECT_THAT(after.GetArguments(), ElementsAre("1234567", "0.5"));
}

TEST(AssembleArgsTest, FormatGivesAnArgumentForEachConversion) {
  const AssembleArgs args("from %d to %5.2f, %s%s and %%, %c", -7, 1.5, "", "text", 'x');
  EXPECT_THAT(args.GetArguments(), ElementsAre("-7", " 1.50", "", "text", "%", "x"));
  const AssembleArgs unknown("%d %n %q %s", 1, "two");
  EXPECT_THAT(unknown.GetArguments(),
              ElementsAre("1", "<argument formatting error>", "<argument formatting error>", "two"));
  EXPECT_THAT(AssembleArgs("no conversion").GetArguments(), ElementsAre());
  EXPECT_THAT(AssembleArgs(static_cast<const char*>(nullptr)).GetArguments(), ElementsAre());
  EXPECT_EQ(AssembleArgs("%s", std::string(5000, 'x').c_str()).GetArguments()[0], std::string(4095, 'x'));

  AssembleArgs continued("%d", 1);
  continued << 2;
  EXPECT_THAT(continued.GetArguments(), ElementsAre("1", "2"));
}

TEST(AssembleArgsTest, ManyArguments) {
  AssembleArgs args;
  for (int i = 0; i < 1000; ++i) args << i;
  EXPECT_EQ(args.GetArguments().size(), 1000U);
  EXPECT_EQ(args.GetArguments()[999], "999");
}

}  // namespace
