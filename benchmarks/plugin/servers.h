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
    void freeze();

private:
    QProcess m_process;
};

/// nginx in the part of the operator and of its CDN sites, each a process with a port of its own.
class Sites
{
public:
    enum class Fault { Refuse, Answer500, Silence };
    enum class Speed { AtOnce, EncryptedAfter10Ms };

    /// The list of sites names all of them; the probe of each takes some milliseconds more than that of the
    /// one before, so that a client which measures them keeps their order.
    explicit Sites(int count, Speed speed = Speed::AtOnce);

    [[nodiscard]] Speed speed() const { return m_speed; }
    /// PEM file with the certificate of the sites that encrypt; empty for others.
    [[nodiscard]] QString caFile() const;

    [[nodiscard]] QString operatorUrl() const { return url(0); }
    [[nodiscard]] QString codesCheckUrl(int site) const { return url(site) + checkPath; }
    [[nodiscard]] int port(int site) const { return m_ports[static_cast<size_t>(site)]; }
    [[nodiscard]] int count() const { return static_cast<int>(m_ports.size()); }

    /// What every site answers to a check from now on.
    void setReply(const QByteArray& reply);

    /// Makes the first `count` sites faulty.
    void spoil(Fault fault, int count);
    /// All are well again.
    void repair();

    static constexpr auto checkPath = "/api/v4/true-api/codes/check";

private:
    void start(int site);
    [[nodiscard]] QString url(int site) const;

    const Speed m_speed;
    QTemporaryDir m_folder;
    std::vector<int> m_ports;
    std::vector<std::unique_ptr<Server>> m_servers;
};

/// A load balancer in front of the sites, set up to fail over as they would be.
enum class Balancer { Nginx, HaProxy };

class LoadBalancer
{
public:
    LoadBalancer(Balancer kind, const Sites& sites);

    [[nodiscard]] QString codesCheckUrl() const;
    /// Answered by the balancer itself.
    [[nodiscard]] QString ownUrl() const;

private:
    QTemporaryDir m_folder;
    int m_port = 0;
    std::unique_ptr<Server> m_server;
};

}  // namespace bench
