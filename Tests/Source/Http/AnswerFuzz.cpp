#include "FuzzTarget.h"
#include "HttpUrl.h"
#include "JsonReader.h"
#include "ResponseCollector.h"
#include "RetryPolicy.h"

#include <cstdint>
#include <string_view>

constexpr std::size_t kBodyBound = 64;
constexpr std::int64_t kNow = 1'700'000'000;

/** As libcurl hands them over: line by line up to the empty one, then the body. */
static Http::HSMResponse Collect(std::string_view input)
{
    Http::ResponseCollector collector;
    collector.SetBodyBound({kBodyBound, Http::LongBody::Cut});
    bool isHeader = true;
    while (isHeader && !input.empty()) {
        const std::string_view line = input.substr(0, input.find('\n') + 1);
        isHeader = line.find_first_not_of("\r\n") != std::string_view::npos && collector.AddHeaderLine(line);
        input.remove_prefix(line.empty() ? input.size() : line.size());
    }
    FUZZ_CHECK(collector.AddBody(input));
    Http::HSMResponse response;
    response.headers = collector.TakeHeaders();
    response.response = collector.TakeBody();
    FUZZ_CHECK(response.response.size() + collector.DroppedSize() == input.size());
    return response;
}

static void CheckWaits(Http::HSMResponse response, const Http::RetrySettings& settings)
{
    for (const std::int32_t status : {0, 200, 404, 429, 503}) {
        response.status = status;
        Http::RetryPolicy policy(settings, [] { return RAND_MAX; });
        for (std::uint32_t attempt = 0; attempt < 40; ++attempt) {
            const auto decision = policy.Decide(response, kNow);
            if (decision.action != Http::RetryDecision::Action::Retry) {
                FUZZ_CHECK(status != 200 || decision.action == Http::RetryDecision::Action::Finished);
                break;
            }
            FUZZ_CHECK(policy.State().attemptCount == attempt + 1);
            FUZZ_CHECK(decision.seconds >= 1 && decision.seconds <= settings.m_MaximumSleep * 1.3 + 1);
        }
    }
}

/** The answer's header section, an empty line, its body. */
void CheckInput(const std::string& input)
{
    const Http::HSMResponse response = Collect(input);
    CheckWaits(response, Http::RetrySettings::WithBackoff());
    CheckWaits(response, {});
    const auto answer = JsonReader::Read(response.response);
    FUZZ_CHECK(answer.value.has_value() == answer.error.empty());
    if (answer.value && answer.value->isObject() && (*answer.value)["uploadUrl"].isString()) {
        Http::IsHttpUrl((*answer.value)["uploadUrl"].asString());
    }
}
