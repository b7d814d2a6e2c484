#include <iostream>
#include <memory>

#include "Gateway.h"
#include "Options.h"
#include "ServeUntilSignal.h"

int main(int argc, char** argv)
{
    return ServeUntilSignal("gatrix-gateway", [&]() -> std::shared_ptr<void> {
        const GatrixGateway::Options options = GatrixGateway::ParseOptions({argv + 1, argv + argc});
        if (options.help) {
            std::cout << GatrixGateway::kHelpText;
            return nullptr;
        }
        GatrixGateway::GatewaySettings settings;
        settings.port = options.port;
        settings.verbose = options.verbose;
        settings.writer = [](const std::string& line) { std::cout << line << std::endl; };
        auto gateway = std::make_shared<GatrixGateway::Gateway>(settings);
        std::cout << "gatrix-gateway listens on " + gateway->Url() + "\n" << std::flush;
        return gateway;
    });
}
