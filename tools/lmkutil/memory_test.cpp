// The command "memory".
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tools/lmkutil/testing/run_tool.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lmkutils/platform/environment.h"
#include "lmkutils/testing/temp_dir.h"

namespace {

using lmktest::ChildResult;
using lmktest::RunTool;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Texts = std::vector<std::string>;

constexpr char kDirect[] = "LUMORA_MEM_MAXSPEED_MAXFOOTPRINT";
constexpr char kHigherSpeed[] = "LUMORA_MEM_HIGHERSPEED_LARGERFOOTPRINT";

// The whole graph as the command draws it, name of the supplier and name of the consumer.
std::vector<std::pair<std::string, std::string>> Arrows(const std::string& dot) {
  std::map<std::string, std::string> names;
  std::vector<std::pair<std::string, std::string>> arrows;
  std::istringstream lines(dot);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string node;
    std::string what;
    words >> node >> what;
    if (what.starts_with("[label=")) {
      const std::size_t start = line.find('"') + 1;
      names[node] = line.substr(start, line.find('\\') - start);
    } else if (what == "->") {
      std::string consumer;
      words >> consumer;
      consumer.pop_back();  // the semicolon
      arrows.emplace_back(names.at(node), names.at(consumer));
    }
  }
  return arrows;
}

// The cells of the table of size classes, by class; empty when there is no such table.
std::map<unsigned, std::vector<unsigned long>> Classes(const std::string& out) {
  std::map<unsigned, std::vector<unsigned long>> classes;
  std::istringstream lines(out.substr(std::min(out.size(), out.find("\nclass "))));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream cells(line);
    unsigned sizeClass = 0;
    if (!(cells >> sizeClass)) continue;
    for (unsigned long cell = 0; cells >> cell;) classes[sizeClass].push_back(cell);
  }
  return classes;
}

unsigned long ElementsInUse(const std::string& out) {
  unsigned long sum = 0;
  for (const auto& [sizeClass, cells] : Classes(out)) sum += cells.at(1);
  return sum;
}

class LmkutilMemoryTest : public testing::Test {
 protected:
  // A program "dot" that makes the graph itself the picture; the folder to look for it in.
  std::string FakeGraphviz() {
    const std::string program =
        folder_.Write("dot", "#!/bin/sh\nwhile read -r l; do echo \"$l\"; done <$3 >${2#-o}\n");
    std::filesystem::permissions(std::filesystem::path(std::u8string(program.begin(), program.end())),
                                 std::filesystem::perms::owner_all);
    folder_.Write("dot.bat", "@type %3 >graph.svg\r\n");
    return folder_.Path();
  }

  lmktest::TempDir folder_{"lmkutil ä 日"};
};

TEST_F(LmkutilMemoryTest, CountsWordsAndKeepsEachOnce) {
  std::string thousand;
  for (int i = 0; i < 1000; ++i) thousand += "word" + std::to_string(i) + " word0;";
  const ChildResult few = RunTool({"memory", folder_.Write("a", "ä-b b,Ä\nb\xFF"), folder_.Write("b", "")});
  const ChildResult many = RunTool({"memory", folder_.Write("c", thousand)});
  EXPECT_EQ("", few.err + many.err);
  EXPECT_EQ(0, few.exitCode);
  EXPECT_THAT(few.out, StartsWith("Files: 2, words: 5, different words: 4\n"));
  EXPECT_THAT(many.out, StartsWith("Files: 1, words: 2000, different words: 1000\n"));
  EXPECT_GE(ElementsInUse(many.out), ElementsInUse(few.out) + 1000);
}

TEST_F(LmkutilMemoryTest, EveryClassOfTheTableSuppliesThePool) {
  for (const char* mode : {"", kHigherSpeed}) {
    const lmktest::Environment environment{{"LUMORA_LANG", "en"}, {mode[0] != '\0' ? mode : "LC_ALL", "1"}};
    const std::size_t classes = Classes(RunTool({"memory"}, environment).out).size();
    EXPECT_GT(classes, 3U);
    const ChildResult graph = RunTool({"memory", "--dot"}, environment);
    EXPECT_EQ(0, graph.exitCode) << graph.err;
    std::size_t fromClasses = 0;
    Texts others;
    for (const auto& [supplier, consumer] : Arrows(graph.out)) {
      EXPECT_EQ("Common Mem Pool", consumer);
      if (supplier.starts_with("Common Mem Pool ")) {
        ++fromClasses;
      } else {
        others.push_back(supplier);
      }
    }
    EXPECT_EQ(classes, fromClasses);
    EXPECT_THAT(others, ElementsAre("Common Block Allocator", "Common Extra Allocator"));
  }
}

TEST_F(LmkutilMemoryTest, WithoutPoolingThereAreNoClasses) {
  const ChildResult result = RunTool({"memory"}, {{"LUMORA_LANG", "en"}, {kDirect, "1"}});
  EXPECT_EQ(0, result.exitCode) << result.err;
  EXPECT_TRUE(Classes(result.out).empty());
  EXPECT_THAT(result.out, HasSubstr(std::string(kDirect) + " is set"));
  EXPECT_TRUE(Arrows(RunTool({"memory", "--dot"}, {{kDirect, "1"}}).out).empty());
}

TEST_F(LmkutilMemoryTest, DrawsIntoAFile) {
  const ChildResult printed = RunTool({"memory", "--dot"});
  const std::string picture = folder_.Write("ü $it's a picture.svg", "older");
  const ChildResult drawn =
      RunTool({"memory", "--svg", picture, "--dot"}, {{"LUMORA_LANG", "en"}, {"PATH", FakeGraphviz()}});
  EXPECT_EQ(0, drawn.exitCode) << drawn.err;
  EXPECT_EQ(Arrows(printed.out), Arrows(lmktest::ReadWholeFile(picture)));
}

TEST_F(LmkutilMemoryTest, GraphvizUnderstandsTheGraph) {
  if (std::system("dot -V") != 0) GTEST_SKIP() << "Graphviz is not installed";
  const std::string picture = folder_.File("picture.svg");
  const ChildResult drawn = RunTool({"memory", "--svg", picture});
  EXPECT_EQ(0, drawn.exitCode) << drawn.err;
  EXPECT_THAT(lmktest::ReadWholeFile(picture), HasSubstr("Common Extra Allocator"));
}

TEST_F(LmkutilMemoryTest, FailuresAreOneLineThatSaysWhatToDo) {
  const std::string missing = folder_.File("missing");
  const std::string old = folder_.Write("old.svg", "old");
  const std::string nowhere = folder_.File("missing/new.svg");
  const std::string graphviz = FakeGraphviz();
  const std::string noGraphviz = lmktest::TempDir().Path();
  struct Case {
    Texts arguments;
    std::string path;
    int status;
    std::string err;
  };
  const std::string mend = "\"; check the path and the permissions";
  const std::string mendOut = "\"; check the path, the permissions and the disk";
  for (const Case& c : std::vector<Case>{
           {{missing}, graphviz, 1, "cannot read \"" + missing + mend},
           {{folder_.Path()}, graphviz, 1, "cannot read \"" + folder_.Path() + mend},
           {{"--svg", nowhere}, graphviz, 1, "cannot write \"" + nowhere + mendOut},
           {{"--svg", folder_.Path()}, graphviz, 1, "cannot write \"" + folder_.Path() + mendOut},
           {{"--svg", old},
            noGraphviz,
            1,
            "cannot draw \"" + old +
                "\", since the program \"dot\" does not run; install Graphviz, or draw what \"lmkutil memory "
                "--dot\" prints"},
           {{"--svg"}, graphviz, 2, "a command or an argument is missing; see \"lmkutil memory --help\""},
           {{"--xml"}, graphviz, 2, "\"--xml\" is not understood; see \"lmkutil memory --help\""},
       }) {
    Texts arguments{"memory"};
    arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
    const ChildResult result = RunTool(arguments, {{"LUMORA_LANG", "en"}, {"PATH", c.path}});
    EXPECT_EQ(c.status, result.exitCode);
    EXPECT_EQ("lmkutil: " + c.err + "\n", result.err);
  }
  EXPECT_EQ("old", lmktest::ReadWholeFile(old));
}

}  // namespace
