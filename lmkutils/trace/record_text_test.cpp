#include "lmkutils/trace/internal/record_text.h"

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "lmkutils/time/time_val.h"

namespace {

using dp::TraceFormatter;
using dp::TraceType;

constexpr std::int64_t kTime = 1763371507042;

std::string Local() {
  return du::LocalTimeVal(kTime).GetString();
}

TraceFormatter Record(TraceType type, const std::string& text, const char* key = "du",
                      const char* subKey = "Symbol") {
  TraceFormatter record(kTime, type, 12, 345, key, subKey);
  record.DontBroadCast();
  record << text;
  return record;
}

std::string Plain(const TraceFormatter& record) {
  dp::internal::TextBuffer out;
  static dp::internal::RecordTime time(du::internal::WriteLocalInstant);
  dp::internal::AppendPlainLine(record, time, out);
  return std::string(out.View());
}

std::string Json(const TraceFormatter& record, const std::string& trackingId = "") {
  dp::internal::TextBuffer out;
  std::string storage;
  dp::internal::RecordTime time(du::internal::WriteUtcInstant);
  dp::internal::AppendJsonLine(record, time, dp::internal::JsonEscaped(trackingId, storage), out);
  return std::string(out.View());
}

std::string Xml(const TraceFormatter& record) {
  dp::internal::TextBuffer out;
  dp::internal::RecordTime time(du::internal::WriteLocalInstant);
  dp::internal::AppendXmlElement(record, time, out);
  return std::string(out.View());
}

TEST(RecordText, PlainLines) {
  EXPECT_EQ("Warning " + Local() + " 12 345 du Symbol two lines \n",
            Plain(Record(TraceType::Warning, "two\nlines\n")));
  EXPECT_EQ("Info    " + Local() + " 12 345 du Symbol \r\t\x1B[31m\n",
            Plain(Record(TraceType::Info, "\r\t\x1B[31m")));
  EXPECT_EQ("Debug   " + Local() + " 12 345   x\n", Plain(Record(TraceType::Debug, "x", nullptr, nullptr)));
  EXPECT_EQ("Error   " + Local() + " 12 345 a b c x\n", Plain(Record(TraceType::Error, "x", "a b", "c")));
  EXPECT_EQ("Info    " + Local() + " 12 345 du Symbol x\n", Plain(Record(static_cast<TraceType>(7), "x")));
}

TEST(RecordText, JsonLines) {
  const std::string before =
      R"({"level" :"warn", "trackingId" :"id \"7\"", "subkey" :"Symbol", "source" :"du", "threadId" :345, "procId" :12, "time" :"9:25:07.042  17 Nov 2025", "message" )";
  const auto json = [](const std::string& text) {
    return Json(Record(TraceType::Warning, text), "id \"7\"");
  };
  EXPECT_EQ(before + R"(: "plain"})"
                     "\n",
            json("plain"));
  EXPECT_EQ(before + R"(: "q\" b\\ \b\f\n\r\t \u0001\u001b\u001f)"
                     "\x7F\"}\n",
            json("q\" b\\ \b\f\n\r\t \x01\x1B\x1F\x7F"));
  EXPECT_EQ(before + R"(: "a\u0000b"})"
                     "\n",
            json(std::string("a\0b", 3)));
  EXPECT_EQ(before + ": \"\xEF\xBF\xBD \xC3\xA4 \xEF\xBF\xBD\"}\n", json("\xFF \xC3\xA4 \xE2\x82"));
  EXPECT_EQ(before + R"(:{"a": "1"}})"
                     "\n",
            json(R"({"a": "1"})"));
  EXPECT_EQ(before + ":{ \"a\" : \"\xEF\xBF\xBD\" }}\n", json("{\n\"a\"\t: \"\xFF\"\r}"));
  for (const char* text : {"{", "}", "{a} b", "a {b}", "[1]"})
    EXPECT_EQ(before + ": \"" + text + "\"}\n", json(text));
  EXPECT_NE(std::string::npos,
            Json(Record(TraceType::Info, "x", "a\"b", nullptr)).find(R"("subkey" :"", "source" :"a\"b")"));
}

// Eight bytes are looked at at once, and fewer at the end.
TEST(RecordText, JsonEscapesAtEveryPlace) {
  for (std::size_t size = 1; size < 20; ++size) {
    for (std::size_t place = 0; place < size; ++place) {
      std::string text(size, '~');
      text[place] = '"';
      std::string storage;
      EXPECT_EQ(std::string(place, '~') + "\\\"" + std::string(size - place - 1, '~'),
                dp::internal::JsonEscaped(text, storage));
      for (const char other : {'\x1F', '\\', '\x80', '\xFF'}) {
        text[place] = other;
        EXPECT_NE(text, dp::internal::JsonEscaped(text, storage)) << size << ' ' << place;
      }
      for (const char same : {' ', '!', '#', '[', ']', '\x7F'}) {
        text[place] = same;
        EXPECT_EQ(text, dp::internal::JsonEscaped(text, storage)) << size << ' ' << place;
      }
    }
  }
}

TEST(RecordText, XmlElements) {
  EXPECT_EQ("<lmtrace:mesg type = \"Error\" time = \"" + Local() +
                "\">\n<lmtrace:id proc = \"12\" thread = \"345\"/>\n"
                "<lmtrace:sourceid source = \"d&quot;u\" subkey = \"S&amp;\"/>\n"
                "&amp; &lt;a&gt; &apos;&quot; ]]&gt;\r\n\t</lmtrace:mesg>\n",
            Xml(Record(TraceType::Error, "& <a> '\" ]]>\r\n\t", "d\"u", "S&")));
  // What XML 1.0 cannot hold, each as U+FFFD; U+FFFD, U+FFFB and U+10FFFF are allowed.
  const std::string controls("\0\x01\x1F", 3);
  std::string storage;
  const std::string_view out = dp::internal::XmlEscaped(
      controls + "|\xFF|\xEF\xBF\xBE\xEF\xBF\xBF|\xEF\xBF\xBD\xEF\xBF\xBB\xF4\x8F\xBF\xBF", storage);
  const std::string bad = "\xEF\xBF\xBD";
  EXPECT_EQ(bad + bad + bad + "|" + bad + "|" + bad + bad + "|" + bad + "\xEF\xBF\xBB\xF4\x8F\xBF\xBF", out);
}

// Whatever was written before, an instant's text is that of its own printing.
TEST(RecordTime, KeepsNothingThatIsSeen) {
  dp::internal::RecordTime local(du::internal::WriteLocalInstant);
  dp::internal::RecordTime utc(du::internal::WriteUtcInstant);
  const std::int64_t instants[] = {kTime,
                                   kTime,
                                   kTime + 1,
                                   kTime + 957,
                                   kTime + 958,
                                   kTime - 43,
                                   kTime - 42,
                                   0,
                                   999,
                                   1000,
                                   -1,
                                   -1000,
                                   1,
                                   32503679999999,
                                   32503680000000,
                                   32503680000001,
                                   INT64_MAX,
                                   INT64_MAX,
                                   INT64_MIN,
                                   kTime + 3600000,
                                   kTime};
  for (const std::int64_t instant : instants) {
    char text[dp::internal::RecordTime::kSize];
    EXPECT_EQ(du::LocalTimeVal(instant).GetString(), std::string(text, local.Write(instant, text)))
        << instant;
    EXPECT_EQ(du::UtcTimeVal(instant).GetString(), std::string(text, utc.Write(instant, text))) << instant;
  }
}

}  // namespace
