#include "Sealed.h"

#include "ChildProcess.h"
#include "TemporaryFolder.h"

#include <algorithm>
#include <iterator>

std::string Quoted(const std::string& text)
{
    std::string quoted = "'";
    for (const char character : text) {
        quoted += character == '\'' ? "'\\''" : std::string{character};
    }
    return quoted + '\'';
}

std::set<std::string> Processes()
{
    std::set<std::string> processes;
    for (const std::string& name : NamesIn("/proc")) {
        if (name.find_first_not_of("0123456789") == std::string::npos) {
            processes.insert(name);
        }
    }
    return processes;
}

Sealed RunDiagSeal(const std::string& arguments, const std::string& key)
{
    const TemporaryFolder folder;
    const std::string output = folder.Write("output", "");
    const std::string errors = folder.Write("errors", "");
    const std::set<std::string> before = Processes();
    const auto start = std::chrono::steady_clock::now();
    Sealed sealed = {};
    sealed.status = RunProgram({"sh", "-c",
                                "exec >" + output + " 2>" + errors +
                                    " 8</dev/null; env --ignore-signal=PIPE,CHLD --block-signal=USR1 " +
                                    Program("diag-seal") + ' ' + arguments})
                        .status;
    sealed.time = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    const std::set<std::string> after = Processes();
    std::set_difference(after.begin(), after.end(), before.begin(), before.end(),
                        std::inserter(sealed.survivors, sealed.survivors.end()));
    sealed.written = ReadWholeFile(output);
    sealed.errors = ReadWholeFile(errors);
    sealed.text = RunProgram({"sh", "-c",
                              "openssl cms -decrypt -binary -inform DER -inkey " + key + " -in " + output +
                                  " 2>/dev/null | gzip -dc 2>/dev/null"})
                      .output;
    return sealed;
}
