#pragma once

#include <memory>
#include <vector>

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace bench {

/// A program that runs as long as the object lives. Throws std::runtime_error when it does not open its port.
class Server
{
public:
    Server(const QString& program, const QStringList& arguments, int port);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Stops it where it is, as a machine that hangs: connections are accepted by the system, nobody answers.
    void freeze() { signal(false); }
    void thaw() { signal(true); }

private:
    void signal(bool run);

    QProcess m_process;
};

/// nginx in the part of the operator and of its CDN sites, each a process with a port of its own.
class Sites
{
public:
    enum class Fault { Refuse, Answer500, Silence };

    /// The list of sites names all of them; the probe of each takes some milliseconds more than that of the
    /// one before, so that a client which measures them keeps their order.
    explicit Sites(int count);

    [[nodiscard]] QString operatorUrl() const { return url(0); }
    [[nodiscard]] QString checkUrl(int site) const { return url(site) + CheckPath; }
    [[nodiscard]] int port(int site) const { return m_ports[static_cast<size_t>(site)]; }
    [[nodiscard]] int count() const { return static_cast<int>(m_ports.size()); }

    /// What every site answers to a check from now on.
    void setReply(const QByteArray& reply);

    /// Makes the first `count` sites faulty.
    void spoil(Fault fault, int count);
    /// All are well again.
    void repair();

    static constexpr auto CheckPath = "/api/v4/true-api/codes/check";

private:
    void start(int site);
    [[nodiscard]] QString url(int site) const { return "http://127.0.0.1:" + QString::number(port(site)); }

    QTemporaryDir m_folder;
    std::vector<int> m_ports;
    std::vector<std::unique_ptr<Server>> m_servers;
    std::vector<bool> m_frozen;
};

/// A load balancer in front of the sites, set up to fail over as they would be.
enum class Balancer { Nginx, HaProxy };

class LoadBalancer
{
public:
    LoadBalancer(Balancer kind, const Sites& sites);

    [[nodiscard]] QString checkUrl() const;
    /// Answered by the balancer itself.
    [[nodiscard]] QString ownUrl() const;

private:
    QTemporaryDir m_folder;
    int m_port = 0;
    std::unique_ptr<Server> m_server;
};

/// A port that is free at this moment.
[[nodiscard]] int freePort();

}  // namespace bench
