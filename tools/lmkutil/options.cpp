#include "tools/lmkutil/options.h"

#include <CLI/CLI.hpp>

namespace lmkutil {
namespace {

// The help of a command is one text of the resources, so that translations keep their own columns.
void UseHelpText(CLI::App& app, const Resources& resources, const char* tag) {
  app.set_help_flag("-h,--help");
  app.formatter_fn([&resources, tag](const CLI::App*, const std::string&, CLI::AppFormatMode) {
    return resources.Text(tag) + "\n";
  });
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
  }

  // As ParseOptions.
  bool Parse(const std::vector<std::string>& arguments, std::string& error) {
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    if (!reversed.empty()) reversed.pop_back();
    try {
      app_.parse(reversed);
      const std::vector<std::string> rest = show_->remaining();
      options_.args.insert(options_.args.end(), rest.begin(), rest.end());
      return true;
    } catch (const CLI::CallForVersion& version) {
      options_.text = std::string(version.what()) + "\n";
      return true;
    } catch (const CLI::CallForHelp&) {
      options_.text = app_.help();
      return true;
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
    show_->add_option("ARG", options_.args);
    show_->prefix_command();  // what looks like an option is an argument of the message: "-5"
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
    check_->callback([this] { options_.command = Command::kCheck; });
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
};

}  // namespace

bool ParseOptions(const std::vector<std::string>& arguments, const Resources& resources, Options& options,
                  std::string& error) {
  return Parser(resources, options).Parse(arguments, error);
}

}  // namespace lmkutil
