#include "MaskCases.h"
#include "SecretFinder.h"
#include "Texts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

using namespace DiagSeal;

namespace
{
/** A rule as RE2 alone takes it. */
struct PlainRule
{
    MaskRule rule;
    std::shared_ptr<const RE2> when; ///< none for those above the first "when"
    std::shared_ptr<const RE2> expression;
};

std::vector<PlainRule> PlainRules(const std::string& text)
{
    std::vector<PlainRule> rules;
    std::shared_ptr<const RE2> when;
    for (const MaskRule& rule : ParseRules(text)) {
        const auto expression = std::make_shared<const RE2>(rule.pattern, PatternOptions(rule.pattern));
        if (rule.name == "when") {
            when = expression;
        } else {
            rules.push_back({rule, when, expression});
        }
    }
    return rules;
}

std::string Told(const MaskRule& rule, std::size_t match, std::size_t secret)
{
    return rule.pattern + "@" + std::to_string(match) + "-" + std::to_string(secret);
}

/** The leftmost match from `from` on: each rule is tried on each line. */
std::string PlainMatch(const std::vector<PlainRule>& rules, const std::string& line, std::size_t from)
{
    std::string first;
    std::size_t place = line.size() + 1;
    for (const auto& [rule, when, expression] : rules) {
        const int groups = expression->NumberOfCapturingGroups();
        std::array<re2::StringPiece, 1 + 4> found;
        if ((when && !RE2::PartialMatch(line, *when)) ||
            !expression->Match(line, from, line.size(), RE2::UNANCHORED, found.data(), 1 + groups) ||
            static_cast<std::size_t>(found[0].begin() - line.data()) >= place) {
            continue;
        }
        const auto group = std::find_if(found.begin() + 1, found.end(), [](const auto& text) { return !text.empty(); });
        const bool isWhole = groups == 0 && rule.name != kKeep;
        const char* secret = isWhole ? found[0].begin() : group == found.end() ? found[0].end() : group->begin();
        place = static_cast<std::size_t>(found[0].begin() - line.data());
        first = Told(rule, place, static_cast<std::size_t>(secret - line.data()));
    }
    return first;
}

/** The finder must find what RE2 alone does, in lines that are made of the pieces. */
void ExpectTheSame(const std::string& text, const std::vector<std::string>& pieces)
{
    const std::vector<PlainRule> rules = PlainRules(text);
    SecretFinder finder(text);
    std::mt19937 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same lines in each run
    for (int round = 0; round < 3000 && !testing::Test::HasFailure(); ++round) {
        std::string line = pieces[random() % pieces.size()];
        for (unsigned i = random() % 4; i > 0; --i) {
            const std::string& other = pieces[random() % pieces.size()];
            const std::size_t place = random() % (line.size() + 1);
            line.replace(place, random() % 3, other.substr(random() % (other.size() + 1), random() % 20));
        }
        finder.Begin(line, 0);
        FoundSecret found;
        bool isThere = true;
        for (std::size_t from = 0; isThere && from < line.size();) {
            isThere = finder.Next(from, found);
            const std::size_t secret = isThere && found.rule->name == kKeep ? found.matchEnd : found.begin;
            EXPECT_EQ(isThere ? Told(*found.rule, found.matchBegin, secret) : "", PlainMatch(rules, line, from))
                << line;
            from = std::max(found.matchEnd, found.matchBegin + 1);
        }
    }
}
} // namespace

TEST(SecretFinder, FindsWhatRe2FindsRuleByRule)
{
    ExpectTheSame(std::string(BuiltInRules()), MaskInputs());
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
        ExpectTheSame(rules, pieces);
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
