#include "HttpGlobal.h"

#include "DPrint.h"
#include "WallClock.h"

#include <curl/curl.h>

#include <cstdlib>
#include <sys/random.h>
#include <unistd.h>

namespace Http
{
namespace
{
const DPrint s_log("Http");

unsigned int Seed()
{
    unsigned int seed = 0;
    // Early in the start of a device the kernel may have no entropy yet. Randomness of waits is not worth waiting for.
    if (getrandom(&seed, sizeof seed, GRND_NONBLOCK) != sizeof seed) {
        const auto now = WallClock::Now().time_since_epoch().count();
        seed = static_cast<unsigned int>(now) ^ static_cast<unsigned int>(getpid());
    }
    return seed;
}
} // namespace

bool InitializeProcess()
{
    static const bool isUsable = [] {
        std::srand(Seed());
        const CURLcode result = curl_global_init(CURL_GLOBAL_DEFAULT);
        if (result != CURLE_OK) {
            s_log.Log(0, "%s: libcurl is not usable: %s", "InitializeProcess", curl_easy_strerror(result));
        }
        return result == CURLE_OK;
    }();
    return isUsable;
}
} // namespace Http
