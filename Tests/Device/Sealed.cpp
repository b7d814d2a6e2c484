#include "Sealed.h"

#include "ChildProcess.h"

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
    sealed.isAlone = Processes() == before;
    sealed.written = ReadWholeFile(output);
    sealed.errors = ReadWholeFile(errors);
    sealed.text = RunProgram({"sh", "-c",
                              "openssl cms -decrypt -binary -inform DER -inkey " + key + " -in " + output +
                                  " 2>/dev/null | gzip -dc 2>/dev/null"})
                      .output;
    return sealed;
}
