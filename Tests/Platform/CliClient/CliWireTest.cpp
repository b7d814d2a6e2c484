#include "CliWire.h"
#include "CommandWords.h"

#include <gtest/gtest.h>

TEST(CommandWords, Split_TakesQuotesAndBackslashes)
{
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {" \t ", {}},
        {"  a\tb  c ", {"a", "b", "c"}},
        {R"("a b" 'c "d' e\ f)", {"a b", "c \"d", "e f"}},
        {R"(a"b c"'d e'f)", {"ab cd ef"}},
        {R"("" '')", {"", ""}},
        {R"("a\"b\\c\d" 'e\')", {R"(a"b\c\d)", R"(e\)"}},
        {R"(\"x)", {"\"x"}},
    };
    for (const auto& [line, words] : cases) {
        EXPECT_EQ(CommandWords::Split(line), words) << line;
        EXPECT_EQ(CommandWords::Split(CommandWords::Join(words)), words) << line;
    }
    for (const char* line : {"\"a", "'a", "a\\", "\"a\\\"", "'a\"", "\"\\"}) {
        EXPECT_EQ(CommandWords::Split(line), std::nullopt) << line;
    }
    EXPECT_EQ(CommandWords::FindCommand({{}}, {"a"}), std::nullopt);
    EXPECT_EQ(CommandWords::FindCommand({{"a"}, {"a", "b"}, {"b"}, {"a"}}, {"a", "b", "c"}), 1U);
}

TEST(CliWire, Texts_ArriveOnOneLine)
{
    const CliWire::Event event{
        CliWire::Event::Kind::UnknownCommand, 2147483647, "a\n\"\xc3\xa9\xff", {{"w", "h", "u"}}};
    const std::string line = CliWire::Encode(event);
    EXPECT_EQ(line,
              "{\"commands\":[{\"help\":\"h\",\"usage\":\"u\",\"words\":\"w\"}],\"event\":\"unknown\","
              "\"id\":2147483647,\"text\":\"a\\n\\\"\\u00e9\\ufffd\"}\n");
    EXPECT_EQ(CliWire::Encode(CliWire::DecodeEvent(line).value()), line);
}
