#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "AsyncCallback.h"
#include "Callback.h"
#include "NotifyTargetTaskIF.h"

class CliClientMT
{
public:
    using Reply = AsyncCallback<std::string, int>;
    using Handler = Callback<std::uint16_t, std::vector<std::string>, Reply, int>;

    explicit CliClientMT(const std::string& name);
    ~CliClientMT();
    void Initialize(NotifyTargetTaskIF* task);
    void RegisterCLIServerCommands(const std::string& words, const std::string& help, const std::string& usage,
                                   NotifyTargetTaskIF* task, Handler handler, std::uint16_t key);
    void SendAsyncResponse(const std::string& text);
};
