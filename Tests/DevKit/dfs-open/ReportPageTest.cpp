#include "ArchiveMaker.h"
#include "FactReader.h"
#include "Markup.h"
#include "Page.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

namespace
{
using namespace DfsReport;
using testing::HasSubstr;
using testing::Not;

/** The page of an archive with that one item; without one if there is no text. */
std::string PageOf(const std::string& text, const std::string& subType = "")
{
    Archive archive;
    if (!text.empty()) {
        Document& item = archive.collection.documents.emplace_back();
        item.item.outcome = DfsOpen::Outcome::Whole;
        item.item.entry.subType = subType;
        item.text = text;
    }
    archive.facts = ReadFacts(archive.collection);
    archive.findings = Find(archive.collection, archive.facts);
    std::string page;
    WritePage(archive, nullptr, [&page](std::string_view bytes) { page += bytes; });
    return page;
}
} // namespace

TEST(ReportPage, Markup_IsEscapedAndWhatDeceivesIsSeen)
{
    const std::pair<const char*, const char*> cases[] = {
        {"a<b>&\"'\n\tz", "a&lt;b&gt;&amp;&quot;&#39;\n\tz"},
        {"\x1b[2J\r\x7f", "\\x1b[2J\\x0d\\x7f"},
        {"\xff \xc3 \xed\xa0\x80 \xc0\xbc", "\\xff \\xc3 \\xed\\xa0\\x80 \\xc0\\xbc"},
        {"\xc2\x9b|\xcd\x8f|\xe2\x80\xae|\xe2\x81\xa6|\xef\xbb\xbf|\xf3\xa0\x81\x81",
         "\\u{9b}|\\u{34f}|\\u{202e}|\\u{2066}|\\u{feff}|\\u{e0041}"},
        {"\xc3\xa4\xe2\x82\xac\xf0\x9f\x8e\xb5", "\xc3\xa4\xe2\x82\xac\xf0\x9f\x8e\xb5"},
    };
    for (const auto& [text, escaped] : cases) {
        EXPECT_EQ(Markup::Escape(text), escaped);
    }
    EXPECT_EQ(Markup::Shortened("\xe2\x82\xac\xe2\x82\xac", 4), "\xe2\x82\xac\xe2\x80\xa6");
}

TEST(ReportPage, WhatIsNotThere_IsSaid)
{
    const std::string page = PageOf("");
    for (const char* text : {"Not known: /proc/meminfo is not in the archive", "Not known: the archive has no log",
                             "Not known: the archive has no list of interfaces", "not in the archive</dd>",
                             "No rule found anything out of the ordinary in what could be read"}) {
        EXPECT_THAT(page, HasSubstr(text));
    }
    EXPECT_THAT(page, Not(HasSubstr("could not be read in full")));
    // What was logged before the clock was set does not squeeze the rest.
    EXPECT_THAT(PageOf("==> date <==\nSun Nov 22 01:16:29 UTC 2026\n==> system log <==\nJan  1 00:00:09 v A: x\n"
                       "Nov 20 10:14:03 v A: x\nNov 20 10:15:03 v A: error\nNov 20 23:15:03 v A: x\n"),
                testing::AllOf(HasSubstr("; 1 minute more than 30 days off not drawn"), HasSubstr("lines in 10 min"),
                               HasSubstr("<a href=\"#i0-L6\" tabindex")));
    EXPECT_THAT(PageOf("total 0\ndiag-seal: 7 bytes are missing here\n==> /proc/meminfo <==\nwhat?\n"
                       "==> /proc/net/dev <==\nReceive\n e: 1 1000 0 0 0 0 0 0 1 1000 0 1 0 0 0 0\n",
                       "coredumpfilelist"),
                testing::AllOf(HasSubstr("could not be read in full"), HasSubstr("has cut 7 bytes at line 2"),
                               HasSubstr(">0 dumps<"), HasSubstr(R"(class="lost" x="98%" width="2%")"),
                               HasSubstr("Not understood: the section &quot;/proc/meminfo&quot;")));
}

TEST(ReportPage, Text_HasLinesBlocksAndLinks)
{
    std::string log = "==> system log <==\n";
    for (int line = 2; line <= 450; ++line) {
        log += "Nov 20 22:14:03 v A: " + (line == 200 ? std::string(2500, 'y') : line == 300 ? "error" : "fine") + '\n';
    }
    const std::string page = PageOf(log + std::string(4500, 'x'));
    for (const char* part :
         {"data-first=\"200\"", "data-first=\"400\"", "\n450\n451\n\xe2\x86\xb3\n\xe2\x86\xb3\n</pre>",
          "<span class=\"linked\" id=\"i0-L300\">Nov 20 22:14:03 v A: error</span>"}) {
        EXPECT_THAT(page, HasSubstr(part));
    }
}

TEST(ReportTool, PageOfAnArchive_IsWrittenWhateverIsWrong)
{
    const ArchiveMaker maker;
    const std::string before =
        maker.Write({ArchiveMaker::Manifest({{"dfs_uptime", "uptime"}, {"dfs_log", "logread"}, {"m", "mfg_data"}}),
                     {"m.gz", maker.Seal(R"({"serialNumber":"08"})")},
                     {"dfs_uptime.gz", maker.Seal("==> /proc/uptime <==\n5 5\n")},
                     {"dfs_log.gz", maker.Seal("==> system log <==\nold error 1\n")}},
                    "before.tar.gz");
    const std::string archive =
        maker.Write({ArchiveMaker::Manifest({{"dfs_log", "logread"}, {"dfs_gone", "top"}}),
                     {"dfs_log.gz", maker.Seal("==> system log <==\nold error 2\nnew error\n")}});
    const std::string path = maker.Path("page.html");
    const Finished run = maker.Open(archive, {"--report", path, "--compare", before});
    EXPECT_EQ(run.status, 1) << run.output;
    const std::string page = ReadWholeFile(path);
    for (const char* part : {"<li>Item &quot;top&quot;: not in the archive</li>", "Compared with before.tar.gz</h2>",
                             "<th scope=\"row\">Item uptime</th><td>25 B</td><td>not there</td>"}) {
        EXPECT_THAT(page, HasSubstr(part));
    }
    EXPECT_THAT(page,
                testing::ContainsRegex("<h3>New errors</h3>\n<ol[^>]*><li>[^/]*</span>[^/]*new error</a></li></ol>"));
    maker.Open(before, {"--report", path, "--compare", archive});
    EXPECT_THAT(ReadWholeFile(path), HasSubstr("Compared with archive.tar.gz, which could not be read in full</h2>"));
    EXPECT_EQ(RunProgram({Program("dfs-open"), before, "--report", path}).status, 0);
    EXPECT_THAT(ReadWholeFile(path), testing::AllOf(HasSubstr("<h1>Sealed: "), Not(HasSubstr("not in the archive"))));

    ASSERT_EQ(mkfifo(maker.Path("pipe.tar.gz").c_str(), 0600), 0);
    const Finished list = maker.Open(maker.Path("."), {"--json"});
    EXPECT_EQ(list.status, 1);
    EXPECT_EQ(std::count(list.output.begin(), list.output.end(), '\n'), 3);
    const char* const first =
        R"({"archive":"before.tar.gz","device":"08","findings":[{"text":"The device has been up for 5 s)";
    EXPECT_THAT(list.output, testing::AllOf(HasSubstr(first), HasSubstr("pipe.tar.gz is not a regular file")));
    EXPECT_THAT(RunProgram({Program("dfs-open"), maker.Path(".")}).output,
                testing::AllOf(HasSubstr(" -         -  before.tar.gz  sealed"),
                               HasSubstr(" 1         1  archive.tar.gz  Item")));

    ASSERT_EQ(symlink(path.c_str(), maker.Path("link").c_str()), 0);
    EXPECT_EQ(maker.Open(archive, {"--report", maker.Path("link")}).status, 2);
    EXPECT_THAT(maker.Open(archive, {"--report", archive}).output, HasSubstr(" is there already, and is no page\n"));
    EXPECT_THAT(maker.Open("/proc").output, HasSubstr("/proc has no archive: no name in it ends in .tar.gz\n"));
    EXPECT_THAT(maker.Open(archive, {"--report", "/nowhere/page"}).output,
                HasSubstr("cannot write /nowhere/page: No such"));
}
