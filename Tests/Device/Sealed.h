#pragma once

#include "ChildProcess.h"
#include "StringUtils.h"
#include "TemporaryFolder.h"

#include <chrono>
#include <set>
#include <string>

/** What one run of diag-seal has done. */
struct Sealed
{
    int status;
    std::string written; ///< On standard output.
    std::string errors;  ///< On standard error.
    std::string text;    ///< What is Opened.
    std::chrono::milliseconds time;
    bool isAlone; ///< The processes are those that were there before.
};

inline Finished Shell(const std::string& command)
{
    return RunProgram({"sh", "-c", command});
}

/** A word for sh(1), whatever is in it. */
inline std::string Quoted(const std::string& text)
{
    return "'" + StringUtils::FindReplace(text, "'", R"('\'')") + "'";
}

/** The processes of this box, and the other names in /proc, which stay the same. */
inline std::set<std::string> Processes()
{
    return NamesIn("/proc");
}

/** What the recipient reads of a sealed file; empty when it cannot be opened. */
inline std::string Opened(const std::string& path, const std::string& key = DEVELOPMENT_KEY)
{
    const std::string open = "openssl cms -decrypt -binary -inform DER -inkey " + key + " -in " + path;
    return Shell(open + " 2>/dev/null | gzip -dc 2>/dev/null").output;
}

/**
 * Runs diag-seal in a shell, with SIGPIPE ignored, SIGUSR1 blocked and descriptor 8 open, and opens what it writes.
 *
 * @param arguments as for sh(1), with redirections; what goes elsewhere is not in the result
 * @param key the recipient's, in PEM
 */
inline Sealed RunDiagSeal(const std::string& arguments, const std::string& key = DEVELOPMENT_KEY)
{
    const TemporaryFolder folder;
    const std::string output = folder.Write("output", "");
    const std::string errors = folder.Write("errors", "");
    const std::set<std::string> before = Processes();
    const auto start = std::chrono::steady_clock::now();
    Sealed sealed = {};
    const std::string run = "; env --ignore-signal=PIPE,CHLD --block-signal=USR1 " + Program("diag-seal");
    sealed.status = Shell("exec >" + output + " 2>" + errors + " 8</dev/null" + run + ' ' + arguments).status;
    sealed.time = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    sealed.isAlone = Processes() == before;
    sealed.written = ReadWholeFile(output);
    sealed.errors = ReadWholeFile(errors);
    sealed.text = Opened(output, key);
    return sealed;
}
