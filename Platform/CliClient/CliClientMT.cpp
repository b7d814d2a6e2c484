#include "CliClientMT.h"

#include "CliServer.h"
#include "CommandWords.h"
#include "DPrint.h"

#include <exception>
#include <utility>

namespace
{
const DPrint s_log("CliClient");
}

CliClientMT::CliClientMT(const std::string& name) : m_server(std::make_unique<CliServer>(name)) {}

CliClientMT::~CliClientMT() = default;

void CliClientMT::Initialize(NotifyTargetTaskIF* task)
{
    m_task = task;
    try {
        m_server->Open();
    } catch (const std::exception& error) {
        s_log.Log(1, "%s: there is no command line: %s", __func__, error.what());
    }
}

void CliClientMT::RegisterCLIServerCommands(const std::string& words, const std::string& help, const std::string& usage,
                                            NotifyTargetTaskIF* task, Handler handler, std::uint16_t key)
{
    NotifyTargetTaskIF* const runner = task != nullptr ? task : m_task;
    const auto split = CommandWords::Split(words);
    if (!split || split->empty() || runner == nullptr || !handler) {
        s_log.Log(1, "%s: '%s' cannot be called", __func__, words.c_str());
        return;
    }
    m_server->Register({{words, help, usage}, runner, std::move(handler), key});
}

void CliClientMT::SendAsyncResponse(const std::string& text)
{
    m_server->SendToAll(text);
}
