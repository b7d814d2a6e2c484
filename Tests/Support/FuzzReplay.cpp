// Runs a fuzz target once for each file of the folder CORPUS: what fuzzing begins with, and what it has found before.

#include "FuzzTarget.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>

TEST(Corpus, HasNoFinding)
{
    const char* const corpus = std::getenv("CORPUS"); // NOLINT(concurrency-mt-unsafe): there is one thread
    ASSERT_NE(corpus, nullptr);
    const auto names = NamesIn(corpus);
    EXPECT_FALSE(names.empty());
    for (const std::string& name : names) {
        // Written before the run: the last name is that of the input that ended it.
        std::cout << name << std::endl;
        CheckInput(ReadWholeFile(std::filesystem::path(corpus) / name));
    }
}
