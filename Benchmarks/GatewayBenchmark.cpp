// A request through the gateway beside a bare WebSocket echo, and the service's start beside an empty program's.
// Prints lines of: figure, ours, floor, goal, why it is missed, separated by tabs. Runs in a device box.
// usage: gateway-benchmark round-trips             with gateway and service running
//        gateway-benchmark start SERVICE LIBRARIES with neither; runs this program once more as the floor: `hello`.
//                                                  LIBRARIES are the service's, separated by colons.

#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{
namespace asio = boost::asio;
namespace beast = boost::beast;
using tcp = asio::ip::tcp;
using Socket = beast::websocket::stream<tcp::socket>;

constexpr unsigned short kGatewayPort = 8084;
constexpr int kRoundTrips = 2000;
constexpr int kStarts = 21;
constexpr int kRegistrations = 4;
constexpr char kHello[] = R"({"op":"hello","client":"benchmark","platform":"PC"})";
// A custom file needs one file type: the service refuses this at once.
constexpr char kRefused[] =
    R"({"op":"request","id":1,"method":"POST","endpoint":"/dfservice/upload","version":1,"body":{"fileToUpload":"/tmp/none"}})";

double MicrosecondsOf(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

std::string Read(Socket& socket)
{
    beast::flat_buffer buffer;
    socket.read(buffer);
    return beast::buffers_to_string(buffer.data());
}

Socket Connect(asio::io_context& context, unsigned short port)
{
    Socket socket(context);
    socket.next_layer().connect({asio::ip::address_v4::loopback(), port});
    socket.next_layer().set_option(tcp::no_delay(true));
    socket.handshake("localhost", "/");
    return socket;
}

Socket Accept(tcp::acceptor& acceptor)
{
    Socket socket(acceptor.accept());
    socket.next_layer().set_option(tcp::no_delay(true));
    socket.accept();
    return socket;
}

std::string RoundTrip(Socket& socket)
{
    socket.write(asio::buffer(kRefused, sizeof(kRefused) - 1));
    return Read(socket);
}

void MeasureRoundTrips()
{
    asio::io_context context;
    Socket gateway = Connect(context, kGatewayPort);
    gateway.write(asio::buffer(kHello, sizeof(kHello) - 1));
    const std::string refusal = RoundTrip(gateway);
    if (refusal.find("\"statusCode\":400") == std::string::npos) {
        throw std::runtime_error("the request was not refused: " + refusal);
    }

    tcp::acceptor acceptor(context, {asio::ip::address_v4::loopback(), 0});
    std::thread echo([&acceptor] {
        Socket peer = Accept(acceptor);
        beast::error_code error;
        for (beast::flat_buffer buffer; peer.read(buffer, error), !error; buffer.clear()) {
            peer.write(buffer.data());
        }
    });
    std::vector<double> ours, floor;
    {
        asio::io_context clients;
        Socket peer = Connect(clients, acceptor.local_endpoint().port());
        for (int trip = 0; trip < kRoundTrips; ++trip) {
            ours.push_back(MicrosecondsOf([&gateway] { RoundTrip(gateway); }));
            floor.push_back(MicrosecondsOf([&peer] { RoundTrip(peer); }));
        }
    }
    echo.join();
    std::printf(
        "refused request through the gateway, us\t%.0f\t%.0f\tat most 2\t"
        "it is two exchanges, two hand-overs between the service's threads, three lines of its log, and "
        "eight readings or writings of JSON\n",
        Median(ours), Median(floor));
}

pid_t Start(std::vector<std::string> command)
{
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (std::string& word : command) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    pid_t child = 0;
    if (posix_spawn(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) {
        throw std::runtime_error("cannot start " + command[0]);
    }
    return child;
}

// From the program's start until that many of its frames have arrived whose operation is `op`.
double TimeOfStart(tcp::acceptor& acceptor, const std::vector<std::string>& command, const std::string& op, int count)
{
    pid_t child = 0;
    const double time = MicrosecondsOf([&] {
        child = Start(command);
        Socket peer = Accept(acceptor);
        while (count > 0) {
            count -= Read(peer).find("\"op\":\"" + op + '"') != std::string::npos ? 1 : 0;
        }
    });
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    return time;
}

void MeasureStart(const std::string& self, const std::string& service, const std::string& libraries)
{
    asio::io_context context;
    tcp::acceptor acceptor(context, {asio::ip::address_v4::loopback(), kGatewayPort});
    std::vector<double> ours, floor, loaded;
    for (int start = 0; start < kStarts; ++start) {
        ours.push_back(TimeOfStart(acceptor, {service}, "register", kRegistrations));
        floor.push_back(TimeOfStart(acceptor, {self, "hello"}, "hello", 1));
        setenv("LD_PRELOAD", libraries.c_str(), 1); // NOLINT(concurrency-mt-unsafe): there is one thread
        loaded.push_back(TimeOfStart(acceptor, {self, "hello"}, "hello", 1));
        unsetenv("LD_PRELOAD"); // NOLINT(concurrency-mt-unsafe): the same
    }
    std::printf(
        "start to all registrations, us\t%.0f\t%.0f\tat most 2\t"
        "the floor takes %.0f us as soon as it loads the service's %d libraries\n",
        Median(ours), Median(floor), Median(loaded),
        static_cast<int>(std::count(libraries.begin(), libraries.end(), ':')) + 1);
}
} // namespace

int main(int argc, char* argv[])
{
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "round-trips") {
        MeasureRoundTrips();
    } else if (mode == "start" && argc == 4) {
        MeasureStart(argv[0], argv[2], argv[3]);
    } else if (mode == "hello") {
        asio::io_context context;
        Connect(context, kGatewayPort).write(asio::buffer(kHello, sizeof(kHello) - 1));
    } else {
        std::fputs("usage: gateway-benchmark round-trips | start SERVICE LIBRARIES | hello\n", stderr);
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
