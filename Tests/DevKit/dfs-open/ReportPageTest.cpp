#include <gmock/gmock.h>
#include <openssl/evp.h>
#include <sys/stat.h>

#include <fstream>
#include <regex>

#include "ArchiveMaker.h"
#include "FactReader.h"
#include "Markup.h"
#include "Page.h"

namespace
{
using namespace DfsReport;
using testing::HasSubstr;
using testing::Not;

constexpr char kHostile[] = "<script>alert(1)</script><img src=x onerror=alert(1)>\"'--></pre>]]>&lt;{{style}}";

std::string PageOf(Collection collection, const Archive* other = nullptr)
{
    Archive archive;
    archive.collection = std::move(collection);
    archive.facts = ReadFacts(archive.collection);
    archive.findings = Find(archive.collection, archive.facts);
    std::string page;
    WritePage(archive, other, [&page](std::string_view bytes) { page += bytes; });
    return page;
}

Document Item(const std::string& subType, const std::string& text)
{
    Document document;
    document.item.entry = {"dfs_" + subType + ".txt", "TOP", subType};
    document.item.outcome = DfsOpen::Outcome::Whole;
    document.item.text.clear();
    document.item.plainSize = text.size();
    document.text = text;
    return document;
}

std::vector<std::string> All(const std::string& page, const std::string& pattern)
{
    const std::regex regex(pattern);
    std::vector<std::string> all;
    for (std::sregex_iterator match(page.begin(), page.end(), regex), end; match != end; ++match) {
        all.push_back((*match)[1]);
    }
    return all;
}

std::string Between(const std::string& page, const std::string& begin, const std::string& end)
{
    const std::size_t at = page.find(begin) + begin.size();
    return page.substr(at, page.find(end, at) - at);
}

std::string Sha256(const std::string& text)
{
    unsigned char digest[32], base64[64];
    EVP_Digest(text.data(), text.size(), digest, nullptr, EVP_sha256(), nullptr);
    return {base64, base64 + EVP_EncodeBlock(base64, digest, sizeof digest)};
}
} // namespace

TEST(ReportPage, Markup_IsEscapedAndWhatDeceivesIsSeen)
{
    const struct
    {
        const char* text;
        const char* escaped;
    } cases[] = {
        {"a<b>&\"'\n\tz", "a&lt;b&gt;&amp;&quot;&#39;\n\tz"},
        {"\x1b[2J\r\x7f", "\\x1b[2J\\x0d\\x7f"},
        {"\xff \xc3 \xed\xa0\x80 \xc0\xbc", "\\xff \\xc3 \\xed\\xa0\\x80 \\xc0\\xbc"},
        {"\xc2\x9b|\xe2\x80\xae|\xe2\x81\xa6|\xef\xbb\xbf|\xf3\xa0\x81\x81",
         "\\u{9b}|\\u{202e}|\\u{2066}|\\u{feff}|\\u{e0041}"},
        {"\xc3\xa4\xe2\x82\xac\xf0\x9f\x8e\xb5", "\xc3\xa4\xe2\x82\xac\xf0\x9f\x8e\xb5"},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(Markup::Escape(one.text), one.escaped);
    }
    EXPECT_EQ(Markup::Shortened("\xe2\x82\xac\xe2\x82\xac", 4), "\xe2\x82\xac\xe2\x80\xa6");
}

TEST(ReportPage, ScriptInEveryFieldAndFile_IsNeverMarkup)
{
    const std::string bad = kHostile;
    const std::string word = "<script>alert(1)</script>"; // where a blank ends the field
    std::string json = bad;
    json = std::regex_replace(json, std::regex("\""), "\\\"");
    Collection collection;
    collection.name = bad;
    collection.faults = {bad};
    collection.documents = {
        Item("mfg_data", R"({"productName":")" + json + R"(","productType":")" + json + R"(","serialNumber":")" + json +
                             R"(","guid":")" + json + R"("})"),
        Item("uptime",
             "==> /opt/Vantor/etc/VantorVersion.json <==\n{\"short\":\"" + json + "\"}\n==> date <==\n" + bad),
        Item("disk",
             "==> file systems <==\n" + word + " 4M 4M " + word + " 99% /" + bad + "\n==> /proc/meminfo <==\n" + bad),
        Item("top", "==> processes <==\n PID RSS %CPU COMMAND\n 1 20 99 " + word + "\n==> " + bad +
                        " <==\nthis device has no " + bad),
        Item("net", "==> /proc/net/dev <==\nReceive\n" + word +
                        ": 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1\n==> addresses <==\n1: " + word + ": <UP>\n inet " + word),
        Item("logread", "==> system log <==\nNov 20 22:14:03 v " + word + "[1]: segfault at error " + bad +
                            "\n==> kernel messages <==\n" + bad + " ended with exit status 1"),
        Item("swup_sys_status", bad + ": failed " + bad),
        Item("swup_hsm_states", "a -> fail" + word + " at 2"),
        Item("swup_release_history", "2026-11-18T03:17:55Z " + word),
        Item("coredumpfilelist", "-rw-r--r-- 1 root root " + word + ' ' + word + " 22 01:09 " + bad),
        Item(bad, bad + std::string(3000, '<') + "\n" + bad),
        Item("binary", std::string(20, '\0') + bad),
    };
    collection.documents.back().item.entry = {bad, bad, bad};
    collection.documents.back().item.text = bad;
    collection.documents.back().item.outcome = DfsOpen::Outcome::Damaged;
    Archive other;
    other.collection.name = bad;
    other.facts.serialNumber = bad;
    other.findings = {{Weight::Serious, bad, {}, bad}};
    other.collection.documents = {Item(bad, bad)};
    const std::string page = PageOf(collection, &other);

    EXPECT_THAT(page, HasSubstr("&lt;script&gt;alert(1)&lt;/script&gt;"));
    for (const char* text : {"<script>alert", "<img", "onerror=alert(1)>", "'-->", "</pre>]]"}) {
        EXPECT_THAT(page, Not(HasSubstr(text))) << text;
    }
    // Each tag and each attribute is one of the templates'.
    const std::string shown = page.substr(0, page.rfind("<script>"));
    const std::string bare = std::regex_replace(shown, std::regex("\"[^\"]*\""), "\"\"");
    for (const std::string& attribute : All(bare, "<[^>]*\\s(on[a-z]+|style|src)=")) {
        ADD_FAILURE() << attribute;
    }
    for (const std::string& link : All(shown, "href=\"([^\"]*)\"")) {
        EXPECT_EQ(link[0], '#') << link;
    }
    EXPECT_EQ(All(page, "(<script|<style|<meta http-equiv)").size(), 3U);
}

TEST(ReportPage, Policy_AllowsTheOwnScriptAndStyleOnly)
{
    const std::string page = PageOf({});
    EXPECT_THAT(page, HasSubstr("content=\"default-src 'none'; script-src 'sha256-" +
                                Sha256(Between(page, "<script>", "</script>")) + "'; style-src 'sha256-" +
                                Sha256(Between(page, "<style>", "</style>")) + "'; base-uri 'none'"));
    for (const char* address : {"http:", "https:", "//", "@import", "url(\""}) {
        EXPECT_THAT(Between(page, "<style>", "</style>"), Not(HasSubstr(address)));
    }
}

TEST(ReportPage, WhatIsNotThere_IsSaid)
{
    const std::string page = PageOf({});
    for (const char* text : {"Not known: /proc/meminfo is not in the archive", "Not known: the archive has no log",
                             "Not known: the archive has no list of interfaces", "not in the archive</dd>",
                             "No rule found anything out of the ordinary in what could be read"}) {
        EXPECT_THAT(page, HasSubstr(text));
    }
    EXPECT_THAT(page, Not(HasSubstr("could not be read in full")));
    EXPECT_THAT(PageOf({"a", 1, false, {Item("disk", "==> /proc/meminfo <==\nwhat?\n")}, {}}),
                testing::AllOf(HasSubstr("could not be read in full"),
                               HasSubstr("Not understood: the section &quot;/proc/meminfo&quot;")));
}

TEST(ReportPage, Text_HasLinesBlocksAndLinks)
{
    std::string log = "==> system log <==\n";
    for (int line = 2; line <= 450; ++line) {
        log += "Nov 20 22:14:03 v A: " + std::string(line == 300 ? "error" : "fine") + '\n';
    }
    const std::string page = PageOf({"a", 1, false, {Item("logread", log + std::string(4500, 'x'))}, {}});
    EXPECT_EQ(All(page, "data-first=\"(\\d+)\""), (std::vector<std::string>{"1", "201", "401"}));
    EXPECT_THAT(page, HasSubstr("\n450\n451\n\xe2\x86\xb3\n\xe2\x86\xb3\n</pre>"));
    EXPECT_THAT(page, HasSubstr("<span class=\"linked\" id=\"i0-L300\">Nov 20 22:14:03 v A: error</span>"));
    for (const std::string& link : All(page, "href=\"#(i[^\"]*)\"")) {
        EXPECT_THAT(page, HasSubstr("id=\"" + link + '"'));
    }
}

TEST(ReportTool, PageOfAnArchive_IsWrittenWhateverIsWrong)
{
    const ArchiveMaker maker;
    const std::string before = maker.Write({ArchiveMaker::Manifest({{"dfs_uptime", "uptime"}, {"dfs_log", "logread"}}),
                                            {"dfs_uptime.gz", maker.Seal("==> /proc/uptime <==\n5 5\n")},
                                            {"dfs_log.gz", maker.Seal("==> system log <==\nold error 1\n")}});
    rename(before.c_str(), maker.Path("before.tar.gz").c_str());
    const std::string archive =
        maker.Write({ArchiveMaker::Manifest({{"dfs_log", "logread"}, {"dfs_gone", "top"}}),
                     {"dfs_log.gz", maker.Seal("==> system log <==\nold error 2\nnew error\n")}});
    const std::string path = maker.Path("page.html");
    const Finished run = maker.Open(archive, {"--report", path, "--compare", maker.Path("before.tar.gz")});
    EXPECT_EQ(run.status, 1) << run.output;
    std::ifstream file(path);
    const std::string page((std::istreambuf_iterator<char>(file)), {});
    EXPECT_THAT(page, HasSubstr("<li>Item &quot;top&quot;: not in the archive</li>"));
    EXPECT_THAT(page, HasSubstr("<th scope=\"row\">Item uptime</th><td>25 B</td><td>not there</td>"));
    EXPECT_THAT(Between(page, "<h3>New errors</h3>", "</ol>"),
                testing::AllOf(HasSubstr("new error"), Not(HasSubstr("old error"))));

    ASSERT_EQ(mkfifo(maker.Path("pipe.tar.gz").c_str(), 0600), 0);
    const Finished list = maker.Open(maker.Path("."), {"--json"});
    EXPECT_EQ(list.status, 1);
    EXPECT_EQ(std::count(list.output.begin(), list.output.end(), '\n'), 3);
    EXPECT_THAT(list.output, HasSubstr("pipe.tar.gz is not a regular file"));
    EXPECT_THAT(
        list.output,
        HasSubstr(
            R"({"archive":"before.tar.gz","device":null,"findings":[{"text":"The device has been up for 5 s only")"));
    EXPECT_EQ(maker.Open(archive, {"--report", "/nowhere/page.html"}).output,
              "dfs-open: cannot write /nowhere/page.html: No such file or directory\n");
}
