// How fast diag-seal's masker is: bytes of processor time on ordinary logs, and on text that is made to slow it down.

#include "MaskCases.h"
#include "Masker.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace DiagSeal;

namespace
{
constexpr std::size_t kSize = 4 << 20;   // bytes of one input
constexpr std::size_t kPiece = 64 << 10; // as a pipe gives them

// The unit again and again, with a number in the place of each "#", so that no two lines are the same.
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

// Rows of the tests' two tables as they come: names of all rules, in lines and out of them.
std::string DrawnFromTheTables(char separator)
{
    const std::vector<std::string> rows = MaskInputs();
    std::mt19937 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same input in each run
    std::string text;
    while (text.size() < kSize) {
        text += rows[random() % rows.size()];
        text += separator;
    }
    return text;
}

// What names nothing, of all bytes.
std::string Binary()
{
    std::mt19937 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp)
    std::string text;
    while (text.size() < kSize) {
        text += static_cast<char>(random());
    }
    return text;
}

void MaskText(benchmark::State& state, const std::string& input)
{
    std::string out;
    while (state.KeepRunning()) {
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

void Mask(benchmark::State& state, const std::string& unit)
{
    MaskText(state, Repeated(unit));
}

void Start(benchmark::State& state)
{
    while (state.KeepRunning()) {
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

constexpr char kNetworks[] =
    "wlan0: CTRL-EVENT-SSID-TEMP-DISABLED id=# ssid=\"Home #\" auth_failures=1 reason=WRONG_KEY\n"
    "\tSSID: Home #\n\t * SSID List\n  ssid_len=8 scan_ssid=1\n";
constexpr char kDump[] =
    "wpa_supplicant[312]: wlan0: PMK - hexdump(len=32): 5b 3a 99 01 7c # # #\n"
    "PSK (ASCII passphrase) - hexdump_ascii(len=18):\n"
    "     63 6f 72 72 65 63 74 20 68 6f 72 73 65 20 62 61   correct horse ba\n"
    "RSN IE - hexdump(len=22): 30 14 01 00 00 0f ac 04\n";
constexpr char kCommands[] = "nmcli a nmcli bc d nmcli # snmp -x # mysql a -p ldapx mosquitto_x -P redis-cli nmcli c ";

BENCHMARK_CAPTURE(Mask, ordinary_log, kOrdinary);
BENCHMARK_CAPTURE(Mask, near_matches, kNear);
BENCHMARK_CAPTURE(Mask, near_matches_without_lines, std::string(kNear, sizeof(kNear) - 2));
BENCHMARK_CAPTURE(Mask, one_long_word, "a");
BENCHMARK_CAPTURE(Mask, names_without_values, "keypasswordtokensecret");
BENCHMARK_CAPTURE(Mask, numbers_with_colons, "ab:cd:ef:01:23:");
BENCHMARK_CAPTURE(Mask, addresses_in_each_line, kAddresses);
BENCHMARK_CAPTURE(Mask, a_secret_in_each_line, kSecrets);
BENCHMARK_CAPTURE(Mask, names_of_all_kinds_mixed, kSoup);
BENCHMARK_CAPTURE(MaskText, drawn_from_the_tables, DrawnFromTheTables('\n'));
BENCHMARK_CAPTURE(MaskText, drawn_from_the_tables_without_lines, DrawnFromTheTables(' '));
BENCHMARK_CAPTURE(MaskText, binary, Binary());
BENCHMARK_CAPTURE(Mask, quotes_that_never_close, "password=\"# \\\" a long text, token='#\n");
BENCHMARK_CAPTURE(Mask, quotes_that_never_close_without_lines, "password # \"key '");
BENCHMARK_CAPTURE(Mask, network_names, kNetworks);
BENCHMARK_CAPTURE(Mask, ssid_without_lines, "a ssid, ");
BENCHMARK_CAPTURE(Mask, supplicant_dump, kDump);
BENCHMARK_CAPTURE(Mask, json_without_lines, "{\"ssid\":\"Home #\",\"signal\":-#,\"psk\":\"a#\"},");
BENCHMARK_CAPTURE(Mask, urls_without_end, "://a:eyJa.b,");
BENCHMARK_CAPTURE(Mask, urls_within_urls, "://a:b://:1/");
BENCHMARK_CAPTURE(Mask, attributes_without_end, "op=\"connection-a\" ssid=\"a\" ");
BENCHMARK_CAPTURE(Mask, programs_without_arguments, "mysql-snmp-ldap_nmcli key-");
BENCHMARK_CAPTURE(Mask, commands_within_values, "a key=nmcli a connect x ");
BENCHMARK_CAPTURE(Mask, words_of_commands, kCommands);
BENCHMARK(Start);
} // namespace

BENCHMARK_MAIN();
