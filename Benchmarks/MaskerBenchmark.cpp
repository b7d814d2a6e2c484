// How fast diag-seal's masker is: bytes of processor time on ordinary logs, and on text that is made to slow it down.

#include "Masker.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <memory>
#include <string>

using namespace DiagSeal;

namespace
{
constexpr std::size_t kSize = 4 << 20;   // bytes of one input
constexpr std::size_t kPiece = 64 << 10; // as a pipe gives them

/** The unit again and again, with a number in the place of each "#", so that no two lines are the same. */
std::string Repeated(const std::string& unit)
{
    std::string text;
    for (unsigned number = 12345; text.size() < kSize;) {
        for (const char c : unit) {
            number = number * 1103515245 + 12345;
            text += c == '#' ? std::to_string(number >> 16) : std::string(1, c);
        }
    }
    return text;
}

void Mask(benchmark::State& state, const std::string& unit)
{
    const std::string input = Repeated(unit);
    std::string out;
    for (auto _ : state) {
        Masker masker(MaskKey{}, std::make_unique<SecretFinder>(BuiltInRules()));
        for (std::size_t at = 0; at < input.size(); at += kPiece) {
            out.clear();
            masker.Feed(std::string_view(input).substr(at, kPiece), out);
            benchmark::DoNotOptimize(out.data());
        }
        masker.Finish(out);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input.size()));
}

void Start(benchmark::State& state)
{
    for (auto _ : state) {
        const SecretFinder finder(BuiltInRules());
        benchmark::DoNotOptimize(&finder);
    }
}

constexpr char kOrdinary[] =
    "Nov 21 19:48:01 sonora kernel: [ #.#] wlan0: associated, rx nss 2 status=0 aid=#\n"
    "Nov 21 19:48:01 sonora systemd[1]: Started Session # of user root.\n"
    "Nov 21 19:48:02 sonora audio-engine[#]: underrun in period #, buffer level # frames, resync\n"
    "Nov 21 19:48:02 sonora NetworkManager[391]: <info>  [#.#] device (eth0): state change: config -> ip-config\n"
    "Nov 21 19:48:03 sonora app[#]: session token refreshed, next in # s, 200 OK\n";
constexpr char kNear[] = "Nov 21 19:48:01 sonora app[#]: keyboard # is no password, monkey=# keyring tokens left\n";
constexpr char kAddresses[] = "neighbour 00:1b:21:3c:9d:4e at 81.2.69.142 and 2a00:1450:4001::200e, # times\n";
constexpr char kSecrets[] =
    "Nov 21 19:48:01 sonora app[#]: request # sent with access_token=abcdef# rc=0 status fine\n";
constexpr char kSoup[] = "key#pass=\"secret token: ssid='x psk://a:b mysql -p community \\\"cookie\n";

BENCHMARK_CAPTURE(Mask, ordinary_log, kOrdinary);
BENCHMARK_CAPTURE(Mask, near_matches, kNear);
BENCHMARK_CAPTURE(Mask, near_matches_without_lines, std::string(kNear, sizeof(kNear) - 2));
BENCHMARK_CAPTURE(Mask, one_long_word, "a");
BENCHMARK_CAPTURE(Mask, names_without_values, "keypasswordtokensecret");
BENCHMARK_CAPTURE(Mask, numbers_with_colons, "ab:cd:ef:01:23:");
BENCHMARK_CAPTURE(Mask, addresses_in_each_line, kAddresses);
BENCHMARK_CAPTURE(Mask, a_secret_in_each_line, kSecrets);
BENCHMARK_CAPTURE(Mask, names_of_all_kinds_mixed, kSoup);
BENCHMARK(Start);
} // namespace

BENCHMARK_MAIN();
