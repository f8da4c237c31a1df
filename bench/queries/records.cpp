#include "bench/queries/records.h"

#include <map>
#include <memory>
#include <random>

namespace bench {
namespace {

const char* const kWords[] = {"gear",  "shaft", "bearing", "plate", "housing", "screw",  "cover", "valve",
                              "motor", "frame", "bracket", "seal",  "spring",  "spacer", "rail",  "hinge"};

constexpr char kOneName[] = "gear_shaft_4711.h";

std::string Extension(unsigned number) {
  static const char* const kKnown[] = {"txt", "html", "h", "hpp", "c", "cpp", "prt", "asm"};
  return number < 8 ? kKnown[number] : "x" + std::to_string(number);
}

std::vector<Record> MakeRecords(std::size_t count) {
  std::mt19937_64 random(count);
  const auto word = [&] { return std::string(kWords[random() % 16]); };
  std::vector<Record> records;
  records.reserve(count);
  std::vector<std::string> directories;
  while (directories.size() < count / 50) {
    directories.push_back("/srv/models/" + word() + "/" + word() + "-" + std::to_string(directories.size()));
  }
  for (std::size_t i = 0; i < count; ++i) {
    const std::string extension = Extension(static_cast<unsigned>(random() % 40));
    records.push_back({word() + "_" + word() + "_" + std::to_string(i) + "." + extension,
                       directories[random() % directories.size()], extension,
                       std::array{"text", "binary", "product structure"}[random() % 3],
                       std::to_string(random() % (count / 4))});
  }
  records[4711][0] = kOneName;
  return records;
}

std::vector<Query> MakeQueries() {
  using enum QueryStep::Operation;
  const Leaf text{"kind", Test::kLiteral, "text"};
  const Leaf sources{"extension", Test::kEqual, "[ch](pp)?"};
  const Leaf gears{"directory", Test::kEqual, ".*/gear.*"};
  return {
      {"presence", {{kFirst, false, {"directory"}}}},
      {"EQ, literal, a third", {{kFirst, false, text}}},
      {"EQ, literal, one record", {{kFirst, false, {"name", Test::kLiteral, kOneName}}}},
      {"EQ, pattern, 40 values", {{kFirst, false, sources}}},
      {"EQ, pattern, 1 value in 50", {{kFirst, false, gears}}},
      {"EQ, pattern, all values different", {{kFirst, false, {"name", Test::kEqual, ".*_valve_.*[05]\\.h"}}}},
      {"NE, pattern, 40 values", {{kFirst, false, {"extension", Test::kNotEqual, "[ch](pp)?"}}}},
      {"AND", {{kFirst, false, text}, {kAnd, false, sources}}},
      {"OR", {{kFirst, false, text}, {kOr, false, sources}}},
      {"XOR", {{kFirst, false, text}, {kXor, false, sources}}},
      {"NOT", {{kFirst, true, sources}}},
      {"mixture",
       {{kFirst, false, text},
        {kOr, false, sources},
        {kAnd, true, gears},
        {kXor, false, {"size", Test::kEqual, "1.*"}}}},
  };
}

}  // namespace

const std::vector<Record>& SomeRecords(std::size_t count) {
  static auto& all = *new std::map<std::size_t, std::unique_ptr<std::vector<Record>>>;
  auto& records = all[count];
  if (!records) records = std::make_unique<std::vector<Record>>(MakeRecords(count));
  return *records;
}

const std::vector<Query>& Queries() {
  static const auto& queries = *new std::vector<Query>(MakeQueries());
  return queries;
}

}  // namespace bench
