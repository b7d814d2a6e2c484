#include "DiagSeal.h"

#include "Certificate.h"
#include "CodePages.h"
#include "Command.h"
#include "ErrorText.h"
#include "FileCopy.h"
#include "Guard.h"
#include "Masker.h"
#include "Notice.h"
#include "Options.h"
#include "OutcomeLines.h"
#include "Output.h"
#include "SealedItem.h"
#include "Sealer.h"
#include "SecretFinder.h"
#include "Supervisor.h"

#include <chrono>
#include <csignal>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

namespace DiagSeal
{

namespace
{

// In bytes. An output that is shorter leaves room for the code pages, which take time to come back.
constexpr std::uint64_t kShort = 32768;

// How long the reader of the output may keep this program waiting, counted from the start. Beyond the time limit these
// are three times what ending a command takes, 21 s with the device's bounds.
std::chrono::milliseconds ReaderTime(const Options& options)
{
    return options.timeLimit + 3 * (options.killDelay + options.grace);
}

std::string Joined(const std::vector<std::string>& words)
{
    std::string text = words.front();
    for (auto word = words.begin() + 1; word != words.end(); ++word) {
        text += ' ' + *word;
    }
    return text;
}

// What a command prints is masked, with a key of this run's own. Files and texts are their owner's to mask.
std::unique_ptr<TextFilter> MakeFilter(const Options& options)
{
    if (options.job != Job::SealCommand) {
        return nullptr;
    }
    std::string notice;
    auto finder = SecretFinder::Load("/opt/Vantor/etc/diag-mask.conf", notice);
    if (!notice.empty()) {
        Notice(notice);
    }
    MaskKey key = {};
    if (getentropy(key.data(), key.size()) != 0) {
        throw std::runtime_error("no random key for masking: " + ErrorText());
    }
    return std::make_unique<Masker>(key, std::move(finder));
}

Certificate LoadCertificate(const std::string& path)
{
    Certificate certificate(path);
    if (certificate.IsExpired()) {
        Notice("certificate " + path + " has expired and is used all the same");
    }
    return certificate;
}

// The layers that what is sealed passes, from the inside out.
struct Layers
{
    Layers(const Options& options, const Certificate& certificate)
        : output(STDOUT_FILENO, "standard output", std::chrono::steady_clock::now() + ReaderTime(options)),
          sealer(certificate, output),
          filter(MakeFilter(options)),
          // CopyFile bounds a file itself, so that it need not read what is left out.
          item(filter.get(), options.job == Job::SealCommand ? options.size : std::numeric_limits<std::uint64_t>::max(),
               sealer)
    {}

    Output output;
    Sealer sealer;
    std::unique_ptr<TextFilter> filter;
    SealedItem item;
};

// By SIGALRM, which ends even a wait for a file system that answers nothing.
void DieAfter(std::chrono::milliseconds time)
{
    sigset_t alarmSignal;
    sigemptyset(&alarmSignal);
    sigaddset(&alarmSignal, SIGALRM);
    std::signal(SIGALRM, SIG_DFL);
    pthread_sigmask(SIG_UNBLOCK, &alarmSignal, nullptr);
    alarm(static_cast<unsigned>(std::chrono::ceil<std::chrono::seconds>(time).count()));
}

void SealText(const Options& options)
{
    const Certificate certificate = LoadCertificate(options.certificate);
    Layers layers(options, certificate);
    layers.item.Write(Joined(options.words));
    layers.item.Finish("");
}

void SealSupervised(const Options& options)
{
    const Supervisor supervisor(
        {options.timeLimit, options.killDelay, options.grace, options.toolTime, options.processes});
    const bool isFile = options.job == Job::SealFile;
    std::optional<Certificate> certificate;
    std::optional<Layers> layers;
    std::uint64_t received = 0;
    Supervisor::Steps steps;
    steps.prepare = [&] { certificate.emplace(LoadCertificate(options.certificate)); };
    steps.meanwhile = [&] { layers.emplace(options, *certificate); };
    steps.consume = [&](std::string_view bytes) {
        if (received < kShort && received + bytes.size() >= kShort) {
            ReleaseCodePages();
        }
        received += bytes.size();
        layers->item.Write(bytes);
    };
    const Outcome outcome = supervisor.Run(
        [&] { return isFile ? CopyFile(options.words.front(), options.size) : BecomeCommand(options); }, steps);
    const bool isDone = outcome.cause == Outcome::Cause::Itself && outcome.status == 0;
    if (isFile && layers->item.IsEmpty() && !isDone) {
        throw std::runtime_error(outcome.failure.empty() ? options.words.front() + ": nothing could be read in time"
                                                         : outcome.failure);
    }
    layers->item.Finish(OutcomeLines(options, outcome));
}

} // namespace

void Seal(const Options& options)
{
    constexpr std::chrono::seconds kMargin(10);
    constexpr std::chrono::seconds kStopMargin(6); // with the time to kill all
    const auto time = ReaderTime(options) + kMargin;
    // A command may kill, stop or trace this program. The rest only has to end, whatever it waits for.
    if (options.job == Job::SealCommand) {
        WorkGuarded(time, options.killDelay + options.grace + kStopMargin);
    } else {
        DieAfter(time);
    }
    if (options.job == Job::SealText) {
        SealText(options);
    } else {
        SealSupervised(options);
    }
}

} // namespace DiagSeal
