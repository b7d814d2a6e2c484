#include "Gateway.h"
#include "GatrixWire.h"
#include "Tool.h"

#include <iostream>
#include <memory>

int main(int argc, char** argv)
{
    GatrixGateway::GatewaySettings settings;
    settings.port = Gatrix::Wire::kPort;
    settings.writer = [](const std::string& line) { std::cout << line << std::endl; };

    CLI::App app(
        "Stands in for the product's local API gateway: passes requests, answers and notifications between the\n"
        "services that connect to it by WebSocket, and prints a line for each client that comes or goes, each\n"
        "registration and each refusal. Listens on 127.0.0.1 and ::1 only. Ends on SIGINT or SIGTERM.",
        "gatrix-gateway");
    AddNumberOption(app, "--port", settings.port, 0, kLargestPort, "PORT", "port to listen on; 0 takes any");
    app.add_flag("--verbose", settings.verbose,
                 "print each frame too: \">\" marks what a client sent, \"<\" what it was sent");

    return RunTool(app, argc, argv, [&settings] {
        return ServeUntilSignal([&settings] {
            auto gateway = std::make_shared<GatrixGateway::Gateway>(settings);
            std::cout << "gatrix-gateway listens on " + gateway->Url() + "\n" << std::flush;
            return gateway;
        });
    });
}
