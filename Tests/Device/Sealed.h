#pragma once

#include <chrono>
#include <set>
#include <string>
#include <vector>

/** What one run of diag-seal has done. */
struct Sealed
{
    int status;
    std::string written; ///< On standard output.
    std::string errors;  ///< On standard error.
    std::string text;    ///< What the recipient reads; empty when it cannot be opened.
    std::chrono::milliseconds time;
    std::set<std::string> survivors; ///< Numbers of processes that were not there before.
};

/**
 * Runs diag-seal in a shell, with SIGPIPE ignored, SIGUSR1 blocked and descriptor 8 open, and opens what it writes.
 *
 * @param arguments as for sh(1), with redirections; what goes elsewhere is not in the result
 * @param key the recipient's, in PEM
 */
Sealed RunDiagSeal(const std::string& arguments, const std::string& key = DEVELOPMENT_KEY);

/** A word for sh(1), whatever is in it. */
std::string Quoted(const std::string& text);

/** Numbers of the processes of this box. */
std::set<std::string> Processes();
