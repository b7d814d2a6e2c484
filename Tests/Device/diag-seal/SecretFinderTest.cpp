#include "MaskCases.h"
#include "SecretFinder.h"
#include "Texts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace DiagSeal;

namespace
{
constexpr std::size_t kRounds = 3000;

/** A rule as RE2 alone takes it. */
struct PlainRule
{
    MaskRule rule;
    std::shared_ptr<RE2> when; ///< none for those above the first "when"
    std::unique_ptr<RE2> expression;
    bool isNeeded = true; ///< on the line under search
};

std::vector<PlainRule> PlainRules(const std::string& text)
{
    std::vector<PlainRule> rules;
    std::shared_ptr<RE2> when;
    for (const MaskRule& rule : ParseRules(text)) {
        if (rule.name == "when") {
            when = std::make_shared<RE2>(rule.pattern, PatternOptions(rule.pattern));
        } else {
            rules.push_back({rule, when, std::make_unique<RE2>(rule.pattern, PatternOptions(rule.pattern))});
        }
    }
    return rules;
}

/** Where the secret of a match begins: its first group that is not empty. */
std::string PlaceOfSecret(const PlainRule& rule, const std::string& line, std::size_t from)
{
    std::vector<re2::StringPiece> found(1 + static_cast<std::size_t>(rule.expression->NumberOfCapturingGroups()));
    rule.expression->Match(line, from, line.size(), RE2::UNANCHORED, found.data(), static_cast<int>(found.size()));
    const auto group =
        std::find_if(found.begin() + 1, found.end(), [](const re2::StringPiece& text) { return !text.empty(); });
    const bool isWhole = found.size() == 1 && rule.rule.name != kKeep;
    const char* place = isWhole ? found[0].begin() : group == found.end() ? found[0].end() : group->begin();
    return std::to_string(place - line.data());
}

/** "PATTERN@PLACE-SECRET" of the leftmost match from `from` on: each rule is tried on each line. */
std::string PlainMatch(const std::vector<PlainRule>& rules, const std::string& line, std::size_t from)
{
    const PlainRule* first = nullptr;
    std::size_t place = line.size() + 1;
    for (const PlainRule& rule : rules) {
        re2::StringPiece match;
        if (rule.isNeeded && rule.expression->Match(line, from, line.size(), RE2::UNANCHORED, &match, 1) &&
            static_cast<std::size_t>(match.data() - line.data()) < place) {
            place = static_cast<std::size_t>(match.data() - line.data());
            first = &rule;
        }
    }
    return first != nullptr
               ? first->rule.pattern + "@" + std::to_string(place) + "-" + PlaceOfSecret(*first, line, from)
               : "";
}

/** What the finder does not find as RE2 alone does, in lines that are made of the pieces. */
std::string Differences(const std::string& text, const std::vector<std::string>& pieces)
{
    std::vector<PlainRule> rules = PlainRules(text);
    SecretFinder finder(text);
    std::mt19937 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same lines in each run
    std::string faults;
    for (std::size_t round = 0; round < kRounds; ++round) {
        std::string line = pieces[random() % pieces.size()];
        for (unsigned i = random() % 4; i > 0; --i) {
            const std::string& other = pieces[random() % pieces.size()];
            const std::size_t place = random() % (line.size() + 1);
            line.replace(place, random() % 3, other.substr(random() % (other.size() + 1), random() % 20));
        }
        for (PlainRule& rule : rules) {
            rule.isNeeded = !rule.when || RE2::PartialMatch(line, *rule.when);
        }
        finder.Begin(line, 0);
        FoundSecret found;
        for (std::size_t from = 0; from < line.size(); from = std::max(found.matchEnd, found.matchBegin + 1)) {
            const std::string expected = PlainMatch(rules, line, from);
            const bool isThere = finder.Next(from, found);
            const std::string actual =
                isThere ? found.rule->pattern + "@" + std::to_string(found.matchBegin) + "-" +
                              std::to_string(found.rule->name == kKeep ? found.matchEnd : found.begin)
                        : std::string();
            if (actual != expected) {
                faults.append(line).append("\n    ").append(actual).append("\n    not ").append(expected) += "\n";
            }
            if (!isThere) {
                break;
            }
        }
    }
    return faults.substr(0, 4000);
}
} // namespace

TEST(SecretFinder, FindsWhatRe2FindsRuleByRule)
{
    EXPECT_EQ(Differences(std::string(BuiltInRules()), MaskInputs()), "");
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        // Alternatives at the top, of which one holds another one, or only one has a text that is found seldom.
        {"a abc\\d|xxbcd=|bcd\nb one=|\\d\\d|three:\nc (?:|no )twelve|ten",
         {"abc1", "xxbcd=", "bcd ", "one=", "12", "three:", "xABC", "twelve"}},
        {"a fox(?:es)?=?\\d\nb (?:deer|)hind:\nc colou?r\\w*[=:]?(?:red|blue)\nd ^(?:old )?list",
         {"foxes=1", "fox1", "fox=1", "hind:", "deerhind:", "color=red", "COLOURS:blue", "old list", "list "}},
        {"a (?-i:KEY[A-Z]+=[a-f]\\d)\nb [Kk][Ee][Yy]-\nc (?i)x-(?-i:Id)=|ID-\nd [^a]bee[]x]|bee[:;=,-]",
         {"KEYAB=a1", "key-", "keyAB=a1", "KeY-", "x-Id=", "x-id=", "iD-", "bee]", "abeex", "bee;", "bee="}},
        {"a (?:ab){2}c\\d\nb x{0,2}yz=\nc (?:cat|dog){2,}!\nd l{2}ama{1}:\ne \\d{3}-{0}end\nf q{,2}u|a{b",
         {"ababc1", "abc1", "xyz=", "yz=", "catdog!", "cat!", "llama:", "lama:", "123end", "q{,2}u", "a{b"}},
        {"a a:(?:b=)+c\nb (?:\\s|_)pin\\b\nc tab\tx\nd end$|^begin\ne (?P<value>\\w+)@(?U:.+)!",
         {"a:b=b=c", "a:c", " pin ", "_pin", "pinx", "tab\tx", "tab x", "end", "begin", "joe@here!"}},
        // What stands before a name and behind it.
        {"a (?:^|\\s)+key\nb (?:\\b|_)(?:\\b|[ac-z\\d_])pin\nc (?:\\b|-)abc[^a-z\\t]*\\d?=\nd "
         "(?-i:[a-z]Foo[^q]x+)\\s*:\n"
         "e low|\\w\\w\\w\\wowx\nf tok[a-c]{2,}\\d{2}=(?:red|blu\\w+)!\ng see(?:(?:\\b|_)it|\\d)ok\nh "
         "-\\d?(?:a-)*cat\ni eel(?:\\d{12}ab(?:-x)?)=",
         {"  key", "a key", "_apin", "__pin", "-abc12=", "abc \t=", "zFooQxx :", "ZFooqx:", "xfoox:", "x12lowx",
          "tokab12=red!", "tokabcc12=blues!", "see_itok", "see1ok", "-1cat", "-cat", "-a-cat", "eel123456789012ab-x="}},
        // The group comes before what its pattern takes first.
        {"a sum\\w*(\\d)x\nb ^row.*(=\\w)@", {"sumab1x", "sum2x3", "sumx", "row =a@=b@", "row =@"}},
        // What the reader of patterns does not know.
        {"a \\pLtau\nb \\x41bc=\nc [[:digit:]]oo:\nd \\Qa.b\\E\ne \xe9t\xe9",
         {"xtau", "abc=", "1oo:", "a.b", "aXb", "\xc9t\xe9", "\xe9t\xc9", "1tau"}},
    };
    for (const auto& [rules, pieces] : cases) {
        EXPECT_EQ(Differences(rules, pieces), "") << rules;
    }
}

TEST(SecretFinder, SearchesALongMatchAgainUpToABound)
{
    const std::string rules = "short xa\nlong [xa]+z\n";
    const auto masked = [&rules](std::size_t count) {
        const std::string output = Masked(Repeated("xa", count) + "z", rules);
        return output.substr(output.find_last_of('[') - 1);
    };
    EXPECT_EQ(masked(20), "][masked:short]z");
    EXPECT_EQ(masked(1500), "][masked:long]"); // beyond the bound, what is left of the match is a secret
}
