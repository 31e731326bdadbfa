#include "stand/admin/adminapi.h"
#include "stand/commandline.h"
#include "stand/stand.h"

#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <fcntl.h>
#include <iostream>
#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

constexpr int wrongInput = 2;

/// A standard stream that the caller has closed is one that is empty and cannot be written to: otherwise the
/// next socket opened would take its number, and what is meant for the stream.
void occupyStandardStreams()
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) == -1) {
            (void)open("/dev/null", O_RDONLY);
        }
    }
}

/// False when the parent is gone already.
bool dieWithParent()
{
    const auto parent = getppid();
    return prctl(PR_SET_PDEATHSIG, SIGTERM) == 0 && getppid() == parent;
}

void print(const QJsonObject& object)
{
    std::cout << marksim::compactJson(object) << std::endl;
    if (!std::cout) {
        throw std::runtime_error("standard output: the ready line cannot be written; send it somewhere else");
    }
}

int run(const marksim::Options& options)
{
    spdlog::set_default_logger(spdlog::stderr_color_st("marksim"));
    spdlog::set_level(spdlog::level::from_str(options.logLevel));
    std::signal(SIGPIPE, SIG_IGN);
    boost::asio::io_context io(1);
    boost::asio::signal_set signals(io, SIGINT, SIGTERM, SIGHUP);
    signals.async_wait([&io](const boost::system::error_code&, int) { io.stop(); });
    if (options.dieWithParent && !dieWithParent()) {
        return 0;
    }
    if (!options.publicAddress.empty() && marksim::isLoopback(options.bind)) {
        spdlog::warn("--public-address: the servers are bound to {}, others cannot reach them; give --bind",
                     options.bind);
    }
    marksim::Stand stand(io, options);
    const marksim::AdminApi admin(io, stand, options);
    const auto ready = admin.ready();
    print(ready);
    if (options.page) {
        std::cerr << "marksim: the page is " << ready[QLatin1String("page")].toString().toStdString() << '\n';
    }
    io.run();
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    occupyStandardStreams();
    const auto parsed = marksim::parseCommandLine(argc, argv);
    if (const auto* status = std::get_if<int>(&parsed)) {
        return *status;
    }
    try {
        return run(std::get<marksim::Options>(parsed));
    } catch (const std::exception& error) {
        std::cerr << "marksim: " << error.what() << '\n';
        return wrongInput;
    }
}
