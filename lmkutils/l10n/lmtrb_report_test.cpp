#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lmkutils/l10n/lmtrb.h"
#include "lmkutils/trace/trace_controller.h"
#include "lmkutils/trace/trace_formatter.h"

namespace {

using du::Lmtrb;

class Recorder : public dp::TraceConsumer {
 public:
  explicit Recorder(std::vector<std::string>& records) : records_(records) {}
  bool ConsumeMessage(const dp::TraceFormatter* record) override {
    records_.push_back(std::string(record->GetLevel()) + " " + record->GetKey() + " " + record->GetSubKey() +
                       " " + record->GetMesg());
    return true;
  }
  void Install() override { records_.clear(); }
  void Release() override {}

 private:
  std::vector<std::string>& records_;
};

TEST(LmtrbReports, FailuresAreReportedWhenAsked) {
  std::vector<std::string> records;
  auto recorder = std::make_unique<Recorder>(records);
  dp::TraceConsumer* const consumer = recorder.get();
  ASSERT_TRUE(dp::TraceController::Instance().AddConsumer(std::move(recorder)));
  records.clear();
  std::istringstream in("A.value={0} {2}\n");
  const Lmtrb table(in, "test.lmtrb", Lmtrb::kAsWritten);
  std::ostringstream out;
  EXPECT_FALSE(table.BuildLocalizedString(out, "B", true));
  EXPECT_FALSE(table.BuildLocalizedString(out, "A", true));
  EXPECT_FALSE(table.BuildLocalizedString(out, nullptr, true, {}));
  EXPECT_FALSE(table.BuildLocalizedStringFromExternal(out, "X", "{0}", true, {"1", "2"}));
  EXPECT_FALSE(table.BuildLocalizedString(out, "B", false));
  EXPECT_FALSE(table.BuildLocalizedString(out, "A", false, {"1"}));
  EXPECT_TRUE(dp::TraceController::Instance().RemoveConsumer(consumer));
  const std::string start = "warn utils Lmtrb LocalizeMessage():- Failed to localize string with table(";
  EXPECT_THAT(
      records,
      testing::ElementsAre(
          start + "Unknown tag \"B\" in  file \"test.lmtrb\".) ",
          start + "could not build localized string for tag \"A\" (Incorrect number of arguments: got 0, "
                  "expected 3).) ",
          start + "Unknown tag \"\" in  file \"test.lmtrb\".) ",
          start + "could not build localized string for tag \"X\" (Incorrect number of arguments: got 2, "
                  "expected 1).) "));
}

}  // namespace
