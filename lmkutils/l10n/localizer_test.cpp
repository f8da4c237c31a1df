#include "lmkutils/l10n/localizer.h"

#include <atomic>
#include <cstdio>
#include <functional>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/l10n/localizer_error.h"
#include "lmkutils/l10n/localizer_impl.h"
#include "lmkutils/l10n/testing/strings_file.h"
#include "lmkutils/os/fault/fault.h"
#include "lmkutils/os/testing/fork.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/platform/lm_info.h"
#include "lmkutils/platform/lm_sys_info.h"
#include "lmkutils/testing/child_process.h"
#include "lmkutils/testing/shortage.h"
#include "lmkutils/testing/temp_dir.h"
#include "lmkutils/testing/threads.h"
#include "lmkutils/testing/trace_recorder.h"

namespace {

using du::AssembleArgs;
using du::Localizer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char kError[] = "<localization error>";

// An installation of product "p" with the language "de", the process's own: it is named before anything else
// asks for the installation.
class Installation {
 public:
  static const Installation& Get() {
    static const Installation installation;
    return installation;
  }
  void Put(const std::string& language, const std::string& resource, const std::string& bytes) const {
    lmktest::PutStringsFile(folder_, language, resource, bytes);
  }
  // Resources with numbers behind the name.
  void PutCopies(const std::string& language, const std::string& resource, int count,
                 const std::string& bytes) const {
    Put(language, resource, bytes);
    for (int i = 0; i < count; ++i) {
      folder_.Write("share/p/" + language + "/" + resource + std::to_string(i) + ".lmtrb", bytes);
    }
  }
  std::string Path(const std::string& language, const std::string& resource) const {
    return dp::LmInfo::Instance().GetLmtrbFile(language, "p", resource);
  }

 private:
  Installation() {
    dp::Environment::Put("LUMORA_LANG", "de");
    dp::LmInfo::SetInstallationRoot(folder_.Path());
  }
  const lmktest::TempDir folder_{"localizer-\xC3\xA4"};
};

// Makes objects by a function, and counts.
class Generator final : public du::LocalizerImplGenerator {
 public:
  using Function = std::function<Localizer::Impl*(const du::Symbol&)>;
  explicit Generator(Function function) : function_(std::move(function)) {
    du::SetLocalizerImplGenerator(this);
  }
  ~Generator() { du::SetLocalizerImplGenerator(nullptr); }
  Localizer::Impl* Create(const du::Symbol& name) override {
    ++count_;
    return function_(name);
  }
  int Count() const { return count_; }

 private:
  Function function_;
  std::atomic<int> count_{0};
};

// Loads its tables through a function.
class Substitute : public Localizer::Impl {
 public:
  using Loader = std::function<du::Lmtrb*(Substitute&, const std::string& path)>;
  Substitute(const du::Symbol& name, Loader loader) : Impl(name), loader_(std::move(loader)) {}
  du::Symbol GetDebugClassName() const override { return "Substitute"; }
  du::Lmtrb* LoadPlain(const std::string& path) { return Impl::LoadLmtrbFile(path, du::Lmtrb::kAsWritten); }

 protected:
  du::Lmtrb* LoadLmtrbFile(const std::string& path, du::Lmtrb::PseudoLocalizeOption) override {
    return loader_(*this, path);
  }

 private:
  Loader loader_;
};

du::Lmtrb* TableOf(const std::string& bytes) {
  std::istringstream in(bytes);
  return new du::Lmtrb(in, "memory", du::Lmtrb::kAsWritten);
}

class LocalizerTest : public testing::Test {
 protected:
  // What is traced of the class's own failures while a localizer of that name is made, and whether it works.
  static std::vector<std::string> ErrorsOf(const std::string& name) {
    lmktest::TraceRecorder recorder;
    const Localizer localizer(name.c_str());
    std::vector<std::string> errors;
    for (const lmktest::TracedRecord& record : recorder.Take()) {
      if (record.type != dp::TraceType::Error) continue;
      EXPECT_EQ(record.key + " " + record.subKey, "utils Localize");
      errors.push_back(record.text);
    }
    EXPECT_EQ(localizer.LocalizeMessage("A", Localizer::kReportFailure) == kError, !errors.empty());
    return errors;
  }

  const Installation& installation_ = Installation::Get();
};

TEST_F(LocalizerTest, TakesEachMessageFromTheBestTable) {
  installation_.Put("de", "best", "A.value=deutsch\nTWO.value={1} von {0}\nLESS.value={0}\n");
  installation_.Put("en", "best",
                    "A.value=english\nB.value=only {0}\nTWO.value={0} of {1}\nLESS.value=none\n");
  const Localizer localizer("p:best");
  lmktest::TraceRecorder recorder;
  EXPECT_EQ(localizer.LocalizeMessage("A"), "deutsch");
  EXPECT_EQ(localizer.LocalizeMessage("TWO", AssembleArgs() << 1 << "zwei"), "zwei von 1");
  EXPECT_THAT(recorder.Take(), IsEmpty());
  EXPECT_EQ(localizer.LocalizeMessage("B", AssembleArgs() << "x", Localizer::kStaySilent), "only x");
  EXPECT_EQ(localizer.LocalizeMessage("LESS", Localizer::kStaySilent), "none");
  EXPECT_EQ(localizer.LocalizeMessage("C", Localizer::kStaySilent), "");
  EXPECT_EQ(localizer.LocalizeMessage("C", static_cast<Localizer::ActionOnFailure>(7)), "");
  EXPECT_EQ(localizer.LocalizeMessage("A", AssembleArgs() << 1, Localizer::kStaySilent), "");
  EXPECT_THAT(recorder.Take(), IsEmpty());

  EXPECT_EQ(localizer.LocalizeMessage("B", AssembleArgs() << "x"), "only x");
  EXPECT_THAT(recorder.TakeTexts(), ElementsAre(HasSubstr("Unknown tag \"B\" in  file \"")));
  EXPECT_EQ(localizer.LocalizeMessage("C"), kError);
  EXPECT_EQ(localizer.LocalizeMessage(nullptr, AssembleArgs()), kError);
  EXPECT_EQ(recorder.TakeTexts().size(), 4U);
}

TEST_F(LocalizerTest, EnglishAloneServesAsPrimary) {
  installation_.Put("en", "english", "A.value=english\n");
  const Localizer localizer("p:english");
  lmktest::TraceRecorder recorder;
  EXPECT_EQ(localizer.LocalizeMessage("A"), "english");
  EXPECT_EQ(localizer.LocalizeMessage("B"), kError);
  EXPECT_EQ(recorder.TakeTexts().size(), 1U);  // there is no second table
}

TEST_F(LocalizerTest, AllStringsAreThoseOfThePrimaryTable) {
  installation_.Put("de", "all", "A.value=deutsch\nB.value={0}\n");
  installation_.Put("en", "all", "A.value=english\nC.value=english\n");
  du::HashMap<du::Symbol, du::Symbol> map;
  map[du::Symbol("A")] = "kept";
  Localizer("p:all").AddAllStrings(map);
  Localizer("p:none").AddAllStrings(map);
  EXPECT_EQ(map.size(), 2U);
  EXPECT_EQ(map.at("A"), "kept");
  EXPECT_EQ(map.at("B"), "{0}");
}

TEST_F(LocalizerTest, ResourcesThatCannotBeSetUpAreTracedAndEmpty) {
  installation_.Put("de", "empty", "# nothing\n");
  installation_.Put("de", "line", "A.value=x\nno entry\n");
  installation_.Put("de", "cut", "A.value=x");
  installation_.Put("de", "twice", "A.value=x\nA.value=y\n");
  installation_.Put("en", "second", "A\n");
  installation_.Put("de", "second", "A.value=x\n");
  const auto noFile = [](const std::string& name) {
    return "Couldn't find a strings file for resource \"" + name + "\".";
  };
  const auto noColon = [](const std::string& name) {
    return "resource \"" + name + "\" appears to not be in <product>:<resource> format.";
  };
  const std::string kNoContent = "No recognizable content.";
  const std::pair<std::string, std::string> cases[] = {
      {"", noColon("")},
      {"none", noColon("none")},
      {"p:none", noFile("p:none")},
      {"p:", noFile("p:")},
      {":best", noFile(":best")},
      {"p:best:x", noFile("p:best:x")},
      {"p:../de/english", noFile("p:../de/english")},
      {"../share/p:english", noFile("../share/p:english")},
      {"p/de:english", noFile("p/de:english")},
      {"p:..\\en\\english", noFile("p:..\\en\\english")},
      {std::string("p:") + std::string(5000, 'x'), noFile("p:" + std::string(5000, 'x'))},
      {"p:empty", kNoContent},
      {"p:line", kNoContent},
      {"p:cut", kNoContent},
      {"p:twice", "Duplicate tag \"A\"."},
      {"p:second", kNoContent},
  };
  for (const auto& [name, reason] : cases) {
    SCOPED_TRACE(name.substr(0, 40));
    EXPECT_THAT(ErrorsOf(name), ElementsAre("Localizer():- " + reason));
    const Localizer localizer(name.c_str());
    EXPECT_EQ(localizer.LocalizeMessage("A", AssembleArgs() << 1, Localizer::kStaySilent), "");
  }
  EXPECT_EQ(Localizer(nullptr).LocalizeMessage("A"), kError);
}

TEST_F(LocalizerTest, FailedResourceIsTriedAgain) {
  EXPECT_EQ(ErrorsOf("p:later").size(), 1U);
  installation_.Put("de", "later", "A.value=broken");
  EXPECT_EQ(ErrorsOf("p:later").size(), 1U);
  installation_.Put("de", "later", "A.value=good\n");
  EXPECT_THAT(ErrorsOf("p:later"), IsEmpty());
  installation_.Put("de", "later", "A.value=changed\n");
  EXPECT_EQ(Localizer("p:later").LocalizeMessage("A"), "good");
}

TEST_F(LocalizerTest, DirectoryInPlaceOfTheFileIsNone) {
  installation_.Put("en", "folder", "A.value=english\n");
  installation_.Put("de", "folder.lmtrb/inner", "A.value=x\n");
  EXPECT_EQ(Localizer("p:folder").LocalizeMessage("A"), "english");
}

TEST_F(LocalizerTest, FileThatCannotBeReadIsNamed) {
  installation_.Put("de", "gone", "A.value=x\n");
  const std::string unreadable =
      "Localizer():- Couldn't read strings file resource \"" + installation_.Path("de", "gone") + "\".";
  for (const std::uint64_t call : {1U, 2U}) {  // before the check, and between it and the opening
    // Twice: the long form of the path is tried too where there is one.
    const os::fault::Arming arming(os::fault::Call::kFileOpen,
                                   {.first = call, .count = 2, .error = os::kErrorFileNotFound});
    EXPECT_THAT(ErrorsOf("p:gone"), ElementsAre(unreadable));
  }
  {
    const os::fault::Arming arming(os::fault::Call::kFileRead, {.error = os::kErrorGenFailure});
    EXPECT_THAT(ErrorsOf("p:gone"), ElementsAre("Localizer():- No recognizable content."));
  }
  EXPECT_EQ(Localizer("p:gone").LocalizeMessage("A"), "x");
}

TEST_F(LocalizerTest, LineEndsOfWindowsAreTakenAway) {
  std::string file = "A.value=a\r b\r\r\n";
  for (int i = 0; i < 30000; ++i) file += "T" + std::to_string(i) + ".value=x\r\n";  // several blocks
  installation_.Put("de", "lines", file + "\r");
  const Localizer localizer("p:lines");
  EXPECT_EQ(localizer.LocalizeMessage("A"), "a\r b\r");
  du::HashMap<du::Symbol, du::Symbol> map;
  localizer.AddAllStrings(map);
  ASSERT_EQ(map.size(), 30001U);
  map.erase(du::Symbol("A"));
  for (const auto& [tag, text] : map) ASSERT_EQ(text, "x") << tag;
}

TEST_F(LocalizerTest, ManyRequestsForANewResourceLoadItOnce) {
  installation_.Put("de", "crowd", "A.value=x\n");
  Generator generator([](const du::Symbol& name) {
    lmktest::GiveOthersTime();
    return new Localizer::Impl(name);
  });
  std::atomic<int> good{0};
  lmktest::OnThreads(10, [&good](int) {
    for (int i = 0; i < 100; ++i) good += Localizer("p:crowd").LocalizeMessage("A") == "x" ? 1 : 0;
  });
  EXPECT_EQ(good, 1000);
  EXPECT_EQ(generator.Count(), 1);
}

TEST_F(LocalizerTest, GeneratorsMayFail) {
  installation_.Put("de", "generated", "A.value=x\n");
  const auto error = [] { return testing::ElementsAre(testing::StartsWith("Localizer():- ")); };
  for (const auto& function : std::vector<Generator::Function>{
           [](const du::Symbol&) -> Localizer::Impl* { return nullptr; },
           [](const du::Symbol&) -> Localizer::Impl* { throw du::LocalizerError("no"); },
           [](const du::Symbol&) -> Localizer::Impl* { throw std::out_of_range("no"); },
           [](const du::Symbol& name) {
             return new Substitute(name, [](Substitute&, const std::string&) { return nullptr; });
           },
           [](const du::Symbol& name) {
             return new Substitute(
                 name, [](Substitute&, const std::string&) -> du::Lmtrb* { throw std::logic_error(""); });
           }}) {
    const Generator generator(function);
    EXPECT_THAT(ErrorsOf("p:generated"), error());
  }
  {
    const Generator generator([](const du::Symbol&) -> Localizer::Impl* { throw std::bad_alloc(); });
    EXPECT_THROW(Localizer("p:generated"), std::bad_alloc);
  }
  {
    const Generator generator([](const du::Symbol&) -> Localizer::Impl* { throw 1; });
    EXPECT_THROW(Localizer("p:generated"), int);
  }
  lmktest::OnOtherThread([] { EXPECT_EQ(Localizer("p:generated").LocalizeMessage("A"), "x"); });
}

TEST_F(LocalizerTest, GeneratorMayAskForOtherResources) {
  installation_.Put("de", "outer", "A.value=outer\n");
  installation_.Put("de", "inner", "A.value=inner\n");
  std::string inner;
  std::string same;
  const Generator generator([&](const du::Symbol& name) {
    if (name == "p:outer") {
      inner = Localizer("p:inner").LocalizeMessage("A");
      same = Localizer("p:outer").LocalizeMessage("A");
      // Enough of them to make the map grow.
      for (int i = 0; i < 500; ++i) Localizer(("p:inner" + std::to_string(i)).c_str());
    }
    return new Localizer::Impl(name);
  });
  EXPECT_EQ(Localizer("p:outer").LocalizeMessage("A"), "outer");
  EXPECT_EQ(inner, "inner");
  EXPECT_EQ(same, kError);
}

TEST_F(LocalizerTest, SubstitutesLoadTablesFromElsewhere) {
  installation_.Put("de", "elsewhere", "A.value=file\n");
  installation_.Put("en", "elsewhere", "A.value=file\nB.value=english file\n");
  const Generator generator([](const du::Symbol& name) {
    return new Substitute(name, [](Substitute& impl, const std::string& path) {
      const bool isGerman = path == Installation::Get().Path("de", "elsewhere");
      return isGerman ? TableOf("A.value=memory\n") : impl.LoadPlain(path);
    });
  });
  const Localizer localizer("p:elsewhere");
  EXPECT_EQ(localizer.LocalizeMessage("A"), "memory");
  EXPECT_EQ(localizer.LocalizeMessage("B"), "english file");
}

TEST_F(LocalizerTest, HandlesShareAndCopy) {
  installation_.Put("de", "shared", "A.value=x\n");
  Localizer first("p:shared");
  Localizer copy(first);
  first = Localizer("p:none");
  EXPECT_EQ(first.LocalizeMessage("A"), kError);
  const Localizer& self = copy;
  copy = self;
  EXPECT_EQ(copy.LocalizeMessage("A"), "x");
  static_assert(sizeof(Localizer) == sizeof(void*));
}

TEST_F(LocalizerTest, MemoryShortagePassesAndLeavesNothingBehind) {
  installation_.Put("de", "memory", "A.value=x\n");
  Localizer("p:best");  // what is made once
  int failures = 0;
  for (const lmktest::Memory memory : lmktest::kAllMemory) {
    for (std::uint64_t first = 1; first < 50; ++first) {
      const lmktest::Shortage shortage(memory, first, 1);
      try {
        const Localizer localizer("p:memory");
        break;
      } catch (const std::bad_alloc&) {
        ++failures;
      }
    }
  }
  EXPECT_GT(failures, 0);
  EXPECT_EQ(Localizer("p:memory").LocalizeMessage("A"), "x");
}

TEST_F(LocalizerTest, ThousandsOfResources) {
  // Where programs of Windows run on another system, a file costs milliseconds.
  const int count = dp::LmSysInfo::GetOsName() == "Windows" ? 1000 : 10000;
  installation_.PutCopies("de", "r", count, "A.value=x\n");
  std::vector<Localizer> localizers;
  for (int i = 0; i < count; ++i) localizers.emplace_back(("p:r" + std::to_string(i)).c_str());
  for (const Localizer& localizer : localizers) ASSERT_EQ(localizer.LocalizeMessage("A"), "x");
}

// args: the root, then tags; prints their messages in resource p:r.
int TellMessages(const std::vector<std::string>& args) {
  dp::LmInfo::SetInstallationRoot(args[0]);
  const Localizer localizer("p:r");
  for (std::size_t i = 1; i < args.size(); ++i) {
    std::printf("%s\n", localizer.LocalizeMessage(args[i].c_str(), Localizer::kStaySilent).c_str());
  }
  return 0;
}
const lmktest::ChildRole kTellMessages("tell_messages", TellMessages);

TEST(LocalizerLanguageTest, PseudoModes) {
  const lmktest::TempDir folder("pseudo");
  lmktest::PutStringsFile(folder, "de", "r", "A.value=deutsch\n");
  lmktest::PutStringsFile(folder, "en", "r", "A.value=open\nB.value=more\n");
  const auto tell = [&folder](const char* language) {
    return lmktest::RunSelf("tell_messages", {folder.Path(), "A", "B"}, {{"LUMORA_LANG", language}}).out;
  };
  EXPECT_EQ(tell("de"), "deutsch\nmore\n");
  EXPECT_EQ(tell("en"), "open\nmore\n");
  EXPECT_EQ(tell("ko"), "open\nmore\n");
  const std::string half = tell("pseudo_de");
  EXPECT_EQ(half.substr(0, 8), "deutsch\n");
  EXPECT_THAT(half, testing::Not(HasSubstr("more")));
  const std::string all = tell("pseudo");
  EXPECT_THAT(all, testing::Not(HasSubstr("deutsch")));
  EXPECT_THAT(all, testing::Not(HasSubstr("open")));
  EXPECT_EQ(all.substr(all.find('\n')), half.substr(half.find('\n')));
  EXPECT_EQ(tell("pseudo_ko"), tell("en"));  // the English file is the primary one there, nothing falls back
}

// args: the root. Forks while another thread sets up resources; each child sets up one too.
const lmktest::ChildRole kFork("localizer_fork", [](const std::vector<std::string>& args) {
  dp::LmInfo::SetInstallationRoot(args[0]);
  const Localizer first("p:r");  // forks are safe from the first use on
  std::atomic<bool> stop{false};
  std::thread other([&stop] {
    while (!stop) Localizer("p:none");
  });
  int failed = 0;
  for (int i = 0; i < 50; ++i) {
    failed += os::testing::RunForked([] { return Localizer("p:other").LocalizeMessage("A") == "x" ? 0 : 1; });
  }
  stop = true;
  other.join();
  return failed != 0 ? 1 : 0;
});

TEST(LocalizerForkTest, ForkedProcessesMakeLocalizers) {
  if (os::testing::RunForked([] { return 0; }) == os::testing::kForkUnknown)
    GTEST_SKIP() << "processes do not fork on this target";
  const lmktest::TempDir folder("fork");
  for (const char* const resource : {"r", "other"}) {
    lmktest::PutStringsFile(folder, "en", resource, "A.value=x\n");
  }
  const lmktest::ChildResult result =
      lmktest::RunSelf("localizer_fork", {folder.Path()}, {{"LUMORA_LANG", "en"}});
  EXPECT_EQ(result.exitCode, 0) << (result.timedOut ? "hangs" : result.err);
}

}  // namespace
