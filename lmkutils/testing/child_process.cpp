#include "lmkutils/testing/child_process.h"

#include <cstdio>
#include <map>
#include <string_view>

namespace lmktest {
namespace {

constexpr std::string_view kRoleOption = "--lmk-child-role=";

std::map<std::string, ChildRole::Main, std::less<>>& Roles() {
  static std::map<std::string, ChildRole::Main, std::less<>> roles;
  return roles;
}

void DropCarriageReturns(std::string& text) {
  for (std::size_t at = text.find("\r\n"); at != text.npos; at = text.find("\r\n", at)) text.erase(at, 1);
}

}  // namespace

ChildResult RunChild(const std::vector<std::string>& args, const Environment& environment,
                     std::chrono::milliseconds limit) {
  ChildResult result = os::testing::RunChild(args, environment, limit);
  DropCarriageReturns(result.out);
  DropCarriageReturns(result.err);
  return result;
}

ChildResult RunSelf(const std::string& role, const std::vector<std::string>& args,
                    const Environment& environment, std::chrono::milliseconds limit) {
  std::vector<std::string> all{SelfPath(), std::string(kRoleOption) + role};
  all.insert(all.end(), args.begin(), args.end());
  return RunChild(all, environment, limit);
}

ChildRole::ChildRole(const char* name, Main main) {
  Roles().emplace(name, main);
}

std::optional<int> RunChildRole(int argc, char** argv) {
  const std::string_view option = argc > 1 ? argv[1] : "";
  if (!option.starts_with(kRoleOption)) return std::nullopt;
  const auto role = Roles().find(option.substr(kRoleOption.size()));
  if (role == Roles().end()) {
    std::fprintf(stderr, "no such child role: %s\n", argv[1]);
    return 99;
  }
  return role->second(std::vector<std::string>(argv + 2, argv + argc));
}

}  // namespace lmktest
