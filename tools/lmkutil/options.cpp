#include "tools/lmkutil/options.h"

#include <charconv>
#include <system_error>

#include <CLI/CLI.hpp>

namespace lmkutil {
namespace {

// What every command needs. Its help is one text of the resources, so that translations keep their own
// columns.
void UseHelpText(CLI::App& app, const Resources& resources, const char* tag) {
  app.set_help_flag("-h,--help");
  app.allow_windows_style_options(false);  // "/part" is a path, on every target
  app.formatter_fn([&resources, tag](const CLI::App*, const std::string&, CLI::AppFormatMode) {
    return resources.Text(tag) + "\n";
  });
}

// An empty path is that of a variable which is not set, not a wish for what happens without the argument.
std::string RefuseEmpty(const std::string& path) {
  return path.empty() ? "empty" : "";
}

// Takes away what stands behind TAG of "strings show FILE TAG ARG..." before options are looked for, since an
// argument may look like one: "-5", "--help".
std::vector<std::string> TakeMessageArguments(std::vector<std::string>& arguments) {
  constexpr std::size_t kFile = 3;
  if (arguments.size() <= kFile || arguments[1] != "strings" || arguments[2] != "show") return {};
  const bool isMarked = arguments[kFile] == "--";  // FILE and TAG may begin with "-" behind it
  const std::size_t end = kFile + (isMarked ? 3 : 2);
  if (arguments.size() <= end) return {};
  if (!isMarked && (arguments[kFile].starts_with('-') || arguments[kFile + 1].starts_with('-'))) return {};
  const auto first = arguments.begin() + static_cast<std::ptrdiff_t>(end);
  std::vector<std::string> taken(first, arguments.end());
  arguments.erase(first, arguments.end());
  return taken;
}

class Parser {
 public:
  Parser(const Resources& resources, Options& options) : resources_(resources), options_(options) {
    UseHelpText(app_, resources, "HELP");
    app_.set_version_flag("--version", resources.Text("VERSION", {LMKUTIL_VERSION}));
    app_.require_subcommand(1);
    UseHelpText(*strings_, resources, "HELP_STRINGS");
    strings_->require_subcommand(1);
    AddShow();
    AddList();
    AddCheck();
    AddPseudo();
    AddExport();
    AddImport();
    AddDump();
    AddMemory();
    AddDoctor();
    AddCatalog();
    AddQuery();
    UseHelpText(*zip_, resources, "HELP_ZIP");
    zip_->require_subcommand(1);
    AddZipCreate();
    AddZipList();
    AddZipExtract();
    AddZipTest();
  }

  // As ParseOptions.
  bool Parse(std::vector<std::string> arguments, std::string& error) {
    options_.args = TakeMessageArguments(arguments);
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    if (!reversed.empty()) reversed.pop_back();
    try {
      app_.parse(reversed);
      return TakeNumbers(error);
    } catch (const CLI::CallForVersion& version) {
      options_.text = std::string(version.what()) + "\n";
      return true;
    } catch (const CLI::CallForHelp&) {
      options_.text = app_.help();
      return true;
    } catch (const CLI::ExcludesError&) {
      error = resources_.Text("USAGE_EXCLUDED", {CommandName()});
    } catch (const CLI::ParseError&) {
      const std::vector<std::string> rest = app_.remaining(true);
      error = rest.empty() ? resources_.Text("USAGE_MISSING", {CommandName()})
                           : resources_.Text("USAGE_EXTRA", {rest.front(), CommandName()});
    }
    return false;
  }

 private:
  void AddShow() {
    UseHelpText(*show_, resources_, "HELP_SHOW");
    show_->add_option("FILE", options_.file)->required();
    show_->add_option("TAG", options_.tag)->required();
    show_->callback([this] { options_.command = Command::kShow; });
  }
  void AddList() {
    UseHelpText(*list_, resources_, "HELP_LIST");
    list_->add_option("FILE", options_.file)->required();
    list_->callback([this] { options_.command = Command::kList; });
  }
  void AddCheck() {
    UseHelpText(*check_, resources_, "HELP_CHECK");
    check_->add_option("FILE", options_.files)->required();
    check_->add_flag("--json", options_.json);
    check_->add_flag("--strict", options_.strict);
    check_->add_option("--longest", longest_);
    check_->callback([this] { options_.command = Command::kCheck; });
  }
  void AddPseudo() {
    UseHelpText(*pseudo_, resources_, "HELP_PSEUDO");
    pseudo_->add_option("FILE", options_.file)->required();
    pseudo_->add_option("OUT", options_.out)->check(RefuseEmpty);
    pseudo_->callback([this] { options_.command = Command::kPseudo; });
  }
  void AddExport() {
    UseHelpText(*export_, resources_, "HELP_EXPORT");
    export_->add_option("FILE", options_.files)->required()->expected(2, 3);
    export_->callback([this] { options_.command = Command::kExport; });
  }
  void AddImport() {
    UseHelpText(*import_, resources_, "HELP_IMPORT");
    import_->add_option("PO", options_.file)->required();
    import_->add_option("OUT", options_.out)->required();
    import_->add_flag("--fuzzy", options_.fuzzy);
    import_->callback([this] { options_.command = Command::kImport; });
  }
  void AddDump() {
    UseHelpText(*dump_, resources_, "HELP_DUMP");
    dump_->add_option("FILE", options_.file)->required();
    CLI::Option* const out = dump_->add_option("OUT", options_.out);
    CLI::Option* const extract = dump_->add_option("--extract", section_);
    extract->needs(out);
    out->needs(extract);
    dump_->add_flag("--hex", options_.hex);
    dump_->callback([this] { options_.command = section_.empty() ? Command::kDump : Command::kExtract; });
  }
  void AddMemory() {
    UseHelpText(*memory_, resources_, "HELP_MEMORY");
    memory_->add_option("FILE", options_.files);
    memory_->add_flag("--dot", options_.dot);
    memory_->add_option("--svg", options_.svg)->check(RefuseEmpty);
    memory_->callback([this] { options_.command = Command::kMemory; });
  }
  void AddCatalog() {
    UseHelpText(*catalog_, resources_, "HELP_CATALOG");
    catalog_->add_option("DIR", options_.file)->check(RefuseEmpty);
    catalog_->add_option("-o,--output", options_.out)->check(RefuseEmpty);
    catalog_->callback([this] { options_.command = Command::kCatalog; });
  }
  void AddQuery() {
    UseHelpText(*query_, resources_, "HELP_QUERY");
    query_->add_option("FILE", options_.file)->required();
    query_->add_option("QUERY", options_.query)->required();
    CLI::Option* const json = query_->add_flag("--json", options_.json);
    query_->add_flag("--csv", options_.csv)->excludes(json);
    query_->callback([this] { options_.command = Command::kQuery; });
  }

  void AddDoctor() {
    UseHelpText(*doctor_, resources_, "HELP_DOCTOR");
    doctor_->callback([this] { options_.command = Command::kDoctor; });
  }

  void AddZipCreate() {
    UseHelpText(*zipCreate_, resources_, "HELP_ZIP_CREATE");
    zipCreate_->add_option("ARCHIVE", options_.file)->required();
    CLI::Option* const paths = zipCreate_->add_option("PATH", options_.files);
    zipCreate_->add_option("-x,--exclude", options_.excluded)->allow_extra_args(false);
    CLI::Option* const query = zipCreate_->add_option("--from-query", selection_)->expected(2);
    query->excludes(paths);
    zipCreate_->callback([this] {
      options_.command = Command::kZipCreate;
      if (selection_.empty() && options_.files.empty()) throw CLI::RequiredError("PATH");
      if (selection_.empty()) return;
      options_.catalogue = selection_.front();
      options_.query = selection_.back();
    });
  }
  void AddZipList() {
    UseHelpText(*zipList_, resources_, "HELP_ZIP_LIST");
    zipList_->add_option("ARCHIVE", options_.file)->required();
    zipList_->callback([this] { options_.command = Command::kZipList; });
  }
  void AddZipExtract() {
    UseHelpText(*zipExtract_, resources_, "HELP_ZIP_EXTRACT");
    AddMembers(*zipExtract_);
    zipExtract_->add_option("-d,--directory", options_.out)->check(RefuseEmpty);
    zipExtract_->callback([this] { options_.command = Command::kZipExtract; });
  }
  void AddZipTest() {
    UseHelpText(*zipTest_, resources_, "HELP_ZIP_TEST");
    AddMembers(*zipTest_);
    zipTest_->callback([this] { options_.command = Command::kZipTest; });
  }
  void AddMembers(CLI::App& command) {
    command.add_option("ARCHIVE", options_.file)->required();
    command.add_option("NAME", options_.files);
    command.add_flag("--no-limits", options_.noLimits);
  }

  // Whether all of the text is a number, which is then in `number`.
  static bool TakeNumber(const std::string& text, unsigned& number) {
    const char* const end = text.data() + text.size();
    const auto [last, fault] = std::from_chars(text.data(), end, number);
    return fault == std::errc() && last == end;
  }

  // The number behind "--extract", which nothing else goes with, and that behind "--longest".
  bool TakeNumbers(std::string& error) {
    std::string wrong;
    if (!longest_.empty() && !TakeNumber(longest_, options_.longest)) wrong = longest_;
    if (options_.command == Command::kExtract) {
      if (!TakeNumber(section_, options_.section) || options_.section == 0) wrong = section_;
      if (wrong.empty() && options_.hex) wrong = "--hex";
    }
    if (wrong.empty()) return true;
    error = resources_.Text("USAGE_EXTRA", {wrong, CommandName()});
    return false;
  }

  // The command as far as it was understood, for its help.
  std::string CommandName() const {
    std::string name = "lmkutil";
    for (const CLI::App* app = &app_; !app->get_subcommands().empty();) {
      app = app->get_subcommands().front();
      name += " " + app->get_name();
    }
    return name;
  }

  const Resources& resources_;
  Options& options_;
  CLI::App app_{"", "lmkutil"};
  CLI::App* strings_ = app_.add_subcommand("strings");
  CLI::App* show_ = strings_->add_subcommand("show");
  CLI::App* list_ = strings_->add_subcommand("list");
  CLI::App* check_ = strings_->add_subcommand("check");
  CLI::App* pseudo_ = strings_->add_subcommand("pseudo");
  CLI::App* export_ = strings_->add_subcommand("export");
  CLI::App* import_ = strings_->add_subcommand("import");
  std::string longest_;  // as given
  CLI::App* dump_ = app_.add_subcommand("dump");
  std::string section_;  // as given
  CLI::App* memory_ = app_.add_subcommand("memory");
  CLI::App* doctor_ = app_.add_subcommand("doctor");
  CLI::App* catalog_ = app_.add_subcommand("catalog");
  CLI::App* query_ = app_.add_subcommand("query");
  CLI::App* zip_ = app_.add_subcommand("zip");
  CLI::App* zipCreate_ = zip_->add_subcommand("create");
  CLI::App* zipList_ = zip_->add_subcommand("list");
  CLI::App* zipExtract_ = zip_->add_subcommand("extract");
  CLI::App* zipTest_ = zip_->add_subcommand("test");
  std::vector<std::string> selection_;  // a catalogue and a query
};

}  // namespace

bool ParseOptions(const std::vector<std::string>& arguments, const Resources& resources, Options& options,
                  std::string& error) {
  return Parser(resources, options).Parse(arguments, error);
}

}  // namespace lmkutil
