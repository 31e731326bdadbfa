#include "standprocess.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

std::array<int, 2> makePipe()
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    return ends;
}

/// Waits for bytes, an end included.
bool isReadable(int descriptor, std::chrono::milliseconds patience)
{
    pollfd waited{descriptor, POLLIN, 0};
    return poll(&waited, 1, static_cast<int>(patience.count())) > 0;
}

}  // namespace

StandProcess::StandProcess(const std::vector<std::string>& arguments)
{
    const auto output = makePipe();
    const auto errors = makePipe();
    std::string program = MARKSIM_PROGRAM;
    std::vector<char*> argv{program.data()};
    auto copies = arguments;
    for (auto& argument : copies)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    pid_ = fork();
    if (pid_ == 0) {
        dup2(output[1], STDOUT_FILENO);
        dup2(errors[1], STDERR_FILENO);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    close(output[1]);
    close(errors[1]);
    output_ = output[0];
    errors_ = errors[0];
    ready_ = toObject(readLine());
}

StandProcess::~StandProcess()
{
    if (!status_) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    close(output_);
    close(errors_);
}

std::string StandProcess::readLine() const
{
    std::string line;
    char byte = 0;
    while (isReadable(output_, 20s) && read(output_, &byte, 1) == 1 && byte != '\n')
        line.push_back(byte);
    return line;
}

std::string StandProcess::admin() const
{
    return ready_["admin"_L1].toString().toStdString();
}

std::string StandProcess::key() const
{
    return ready_["keys"_L1][0].toString().toStdString();
}

std::string StandProcess::url(const std::string& server) const
{
    for (const auto kind : {"operators"_L1, "sites"_L1, "modules"_L1}) {
        const auto servers = ready_[kind].toArray();
        for (const auto& entry : servers) {
            if (entry["name"_L1].toString().toStdString() == server)
                return entry["url"_L1].toString().toStdString();
        }
    }
    throw std::runtime_error("no server " + server);
}

void StandProcess::signal(int number) const
{
    kill(pid_, number);
}

std::optional<int> StandProcess::exitStatus(std::chrono::seconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!status_ && std::chrono::steady_clock::now() < end) {
        int status = 0;
        if (waitpid(pid_, &status, WNOHANG) == pid_)
            status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        else
            std::this_thread::sleep_for(2ms);
    }
    return status_;
}

std::string StandProcess::restOfOutput() const
{
    return readToEnd(output_);
}

std::string StandProcess::errors() const
{
    return readToEnd(errors_);
}

std::string readToEnd(int descriptor, std::chrono::seconds patience)
{
    std::string text;
    std::array<char, 4096> buffer{};
    while (isReadable(descriptor, patience)) {
        const auto size = read(descriptor, buffer.data(), buffer.size());
        if (size <= 0)
            return text;
        text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    return text + " (the stream did not end in time)";
}

QJsonObject toObject(const std::string& json)
{
    return QJsonDocument::fromJson(QByteArray::fromStdString(json)).object();
}

std::string toJson(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}
