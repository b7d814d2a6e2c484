#include "CliWire.h"

#include <gtest/gtest.h>

#include "CommandWords.h"

using Words = std::vector<std::string>;

TEST(CommandWords, Split_TakesQuotesAndBackslashes)
{
    const std::pair<const char*, Words> lines[] = {
        {" \t ", {}},
        {"  a\tb  c ", {"a", "b", "c"}},
        {R"("a b" 'c "d' e\ f)", {"a b", "c \"d", "e f"}},
        {R"(a"b c"'d e'f)", {"ab cd ef"}},
        {R"("" '')", {"", ""}},
        {R"("a\"b\\c\d" 'e\')", {R"(a"b\c\d)", R"(e\)"}},
        {R"(\"x)", {"\"x"}},
    };
    for (const auto& [line, words] : lines) {
        EXPECT_EQ(CommandWords::Split(line), words) << line;
        EXPECT_EQ(CommandWords::Split(CommandWords::Join(words)), words) << line;
    }
    for (const char* line : {"\"a", "'a", "a\\", "\"a\\\"", "'a\"", "\"\\"}) {
        EXPECT_EQ(CommandWords::Split(line), std::nullopt) << line;
    }
}

TEST(CommandWords, FindCommand_PrefersTheLongest)
{
    const std::vector<Words> commands{{"show"}, {"show", "all", "types"}, {"show", "all"}, {}};
    EXPECT_EQ(CommandWords::FindCommand(commands, {"show", "all", "types", "x"}), 1U);
    EXPECT_EQ(CommandWords::FindCommand(commands, {"show", "all", "x"}), 2U);
    EXPECT_EQ(CommandWords::FindCommand(commands, {"show", "x", "all"}), 0U);
    EXPECT_EQ(CommandWords::FindCommand(commands, {"Show"}), std::nullopt);
    EXPECT_EQ(CommandWords::FindCommand(commands, {}), std::nullopt);
}

TEST(CliWire, AnyText_ArrivesOnOneLine)
{
    CliWire::Event event{CliWire::Event::Kind::UnknownCommand, 2147483647, "a\n\"b\"\xc3\xa9\xff", {{"w", "h", "u"}}};
    std::string line = CliWire::Encode(event);
    EXPECT_EQ(line.find('\n'), line.size() - 1);
    line.pop_back();
    const auto decoded = CliWire::DecodeEvent(line);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->kind, event.kind);
    EXPECT_EQ(decoded->id, event.id);
    EXPECT_EQ(decoded->text, "a\n\"b\"\xc3\xa9\xef\xbf\xbd");
    ASSERT_EQ(decoded->commands.size(), 1U);
    EXPECT_EQ(decoded->commands[0].usage, "u");
}

TEST(CliWire, LineThatIsNoRequest_IsNotDecoded)
{
    EXPECT_TRUE(CliWire::DecodeRequest(R"({"request":"run","id":0,"line":"a","later":[]})"));
    for (const std::string line :
         {"", "x", "[]", "{}", R"({"request":"run"})", R"({"request":"run","id":1})", R"({"request":"jump","id":1})",
          R"({"request":"list"})", R"({"request":"list","id":-1})", R"({"request":"list","id":"1"})",
          R"({"request":"list","id":2147483648})", R"({"request":"list","id":1.5})", R"({"request":["list"],"id":1})",
          R"({"request":"run","id":1,"line":7})"}) {
        EXPECT_FALSE(CliWire::DecodeRequest(line)) << line;
    }
    const auto nested = [](std::size_t levels) {
        return R"({"request":"list","id":1,"later":)" + std::string(levels, '[') + std::string(levels, ']') + "}";
    };
    EXPECT_FALSE(CliWire::DecodeRequest(nested(1) + '\0'));
    EXPECT_TRUE(CliWire::DecodeRequest(nested(15)));
    EXPECT_FALSE(CliWire::DecodeRequest(nested(16)));
}
