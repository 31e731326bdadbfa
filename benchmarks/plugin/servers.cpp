#include "benchmarks/plugin/servers.h"

#include <csignal>
#include <stdexcept>
#include <thread>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpServer>
#include <QTcpSocket>

namespace bench {

namespace {

bool isOpen(int port)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(port));
    return socket.waitForConnected();
}

/// A port that is free at this moment.
int freePort()
{
    QTcpServer server;
    if (!server.listen(QHostAddress::LocalHost)) {
        throw std::runtime_error("no free port");
    }
    return server.serverPort();
}

void write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        throw std::runtime_error("cannot write " + path.toStdString());
    }
}

QString nginxConfiguration(const QString& folder, int number, const QString& http)
{
    return QStringLiteral("load_module modules/ngx_http_echo_module.so;\n"
                          "daemon off;\nmaster_process off;\npid %1/%2.pid;\nerror_log %1/%2.log;\n"
                          "events { worker_connections 1024; }\n"
                          "http {\n"
                          "  access_log off; default_type application/json; tcp_nodelay on;\n"
                          "  keepalive_requests 100000000; client_max_body_size 64m;\n"
                          "  client_body_buffer_size 16m;\n"
                          "  client_body_temp_path %1/body; proxy_temp_path %1/proxy;\n"
                          "  fastcgi_temp_path %1/fcgi; uwsgi_temp_path %1/uwsgi; scgi_temp_path %1/scgi;\n"
                          "%3}\n")
        .arg(folder)
        .arg(number)
        .arg(http);
}

}  // namespace

Server::Server(const QString& program, const QStringList& arguments, int port)
{
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.start(program, arguments);
    if (!m_process.waitForStarted()) {
        throw std::runtime_error(program.toStdString() + " does not start");
    }
    for (int tries = 0; !isOpen(port); ++tries) {
        constexpr int enough = 500;
        if (tries == enough || m_process.waitForFinished(0)) {
            throw std::runtime_error(program.toStdString() + ": " + m_process.readAll().toStdString());
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

Server::~Server()
{
    m_process.kill();
    m_process.waitForFinished();
}

void Server::freeze()
{
    ::kill(static_cast<pid_t>(m_process.processId()), SIGSTOP);
}

Sites::Sites(int count, Speed speed)
    : m_speed(speed)
    , m_servers(static_cast<size_t>(count))
{
    QJsonArray hosts;
    for (int site = 0; site < count; ++site) {
        m_ports.push_back(freePort());
        hosts.append(QJsonObject{{"host", url(site)}});
    }
    write(m_folder.filePath("info.json"),
          QJsonDocument(QJsonObject{{"code", 0}, {"description", "ok"}, {"hosts", hosts}}).toJson());
    setReply("{}");
    if (speed == Speed::EncryptedAfter10Ms) {
        QProcess openssl;  // quiet
        openssl.start("openssl", {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
                                  "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout",
                                  m_folder.filePath("key.pem"), "-out", caFile()});
        openssl.waitForFinished();
    }
    for (int site = 0; site < count; ++site) {
        start(site);
    }
}

QString Sites::caFile() const
{
    return m_speed == Speed::EncryptedAfter10Ms ? m_folder.filePath("certificate.pem") : QString();
}

QString Sites::url(int site) const
{
    return (m_speed == Speed::AtOnce ? "http://127.0.0.1:" : "https://127.0.0.1:") +
           QString::number(port(site));
}

void Sites::start(int site)
{
    const bool isSlow = m_speed == Speed::EncryptedAfter10Ms;
    const QString encryption = QStringLiteral(" ssl;\n    ssl_certificate %1/certificate.pem;\n"
                                              "    ssl_certificate_key %1/key.pem")
                                   .arg(m_folder.path());
    const QString delay =
        QStringLiteral("    location = %1 {\n      echo_read_request_body; echo_sleep 0.010;\n"
                       "      echo_exec /answer; }\n")
            .arg(checkPath);
    const QString configuration = m_folder.filePath(QString::number(site) + ".conf");
    const QString http =
        QStringLiteral("  server {\n    listen 127.0.0.1:%1%6;\n%7"
                       "    location = /api/v4/true-api/cdn/info { alias %2/info.json; }\n"
                       "    location = /api/v4/true-api/cdn/health/check {\n"
                       "      echo_sleep %3; echo '{\"code\":0,\"description\":\"ok\",\"avgTimeMs\":1}'; }\n"
                       "    location = %4 {\n"
                       "      if (-f %2/spoiled-%5) { return 500; }\n"
                       "      root %2; error_page 405 =200 /reply.json; }\n"
                       "    location = /reply.json { root %2; }\n  }\n")
            .arg(m_ports[static_cast<size_t>(site)])
            .arg(m_folder.path())
            .arg(0.001 + 0.015 * site)
            .arg(isSlow ? "/answer" : checkPath)
            .arg(site)
            .arg(isSlow ? encryption : QString(), isSlow ? delay : QString());
    write(configuration, nginxConfiguration(m_folder.path(), site, http).toUtf8());
    m_servers[static_cast<size_t>(site)] =
        std::make_unique<Server>("nginx", QStringList{"-c", configuration}, port(site));
}

void Sites::setReply(const QByteArray& reply)
{
    write(m_folder.filePath("reply.json"), reply);
    // A POST is answered with the file by way of the path that it is sent to, which has to be there.
    QDir(m_folder.path()).mkpath(QString(checkPath).section('/', 1, -2));
    write(m_folder.path() + checkPath, "{}");
    write(m_folder.filePath("answer"), "{}");
}

void Sites::spoil(Fault fault, int count)
{
    for (size_t site = 0; site < static_cast<size_t>(count); ++site) {
        switch (fault) {
        case Fault::Refuse:
            m_servers[site].reset();
            break;
        case Fault::Answer500:
            write(m_folder.filePath("spoiled-" + QString::number(site)), "");
            break;
        case Fault::Silence:
            m_servers[site]->freeze();
            break;
        }
    }
}

void Sites::repair()
{
    for (int site = 0; site < count(); ++site) {
        QFile::remove(m_folder.filePath("spoiled-" + QString::number(site)));
        m_servers[static_cast<size_t>(site)].reset();
        start(site);
    }
}

LoadBalancer::LoadBalancer(Balancer kind, const Sites& sites)
    : m_port(freePort())
{
    QString servers;
    for (int site = 0; site < sites.count(); ++site) {
        servers += kind == Balancer::Nginx
                       ? QStringLiteral("    server 127.0.0.1:%1 max_fails=1 fail_timeout=900s;\n")
                             .arg(sites.port(site))
                       : QStringLiteral("  server s%1 127.0.0.1:%2\n").arg(site).arg(sites.port(site));
    }
    const QString configuration = m_folder.filePath("balancer.conf");
    if (kind == Balancer::Nginx) {
        const QString http =
            QStringLiteral("  upstream sites {\n%1    keepalive 16;\n  }\n"
                           "  server {\n    listen 127.0.0.1:%2;\n"
                           "    location = /own { return 200; }\n"
                           "    location / {\n      proxy_pass http://sites; proxy_http_version 1.1;\n"
                           "      proxy_set_header Connection \"\";\n"
                           "      proxy_connect_timeout 2s; proxy_read_timeout 2s; proxy_send_timeout 2s;\n"
                           "      proxy_next_upstream error timeout http_500 http_502 http_503 http_504\n"
                           "                          http_429 non_idempotent;\n    }\n  }\n")
                .arg(servers)
                .arg(m_port);
        write(configuration, nginxConfiguration(m_folder.path(), 0, http).toUtf8());
        m_server = std::make_unique<Server>("nginx", QStringList{"-c", configuration}, m_port);
        return;
    }
    write(configuration, QStringLiteral("global\n  maxconn 256\n  nbthread 1\n"
                                        "defaults\n  mode http\n  timeout connect 2s\n  timeout client 60s\n"
                                        "  timeout server 2s\n  option redispatch 1\n  retries 6\n"
                                        "  retry-on all-retryable-errors\n  http-reuse always\n"
                                        "frontend till\n  bind 127.0.0.1:%1\n"
                                        "  http-request return status 200 if { path /own }\n"
                                        "  default_backend sites\n"
                                        "backend sites\n  balance roundrobin\n"
                                        "  default-server check inter 900s observe layer7 error-limit 1 "
                                        "on-error mark-down\n%2")
                             .arg(m_port)
                             .arg(servers)
                             .toUtf8());
    m_server = std::make_unique<Server>("haproxy", QStringList{"-db", "-q", "-f", configuration}, m_port);
}

QString LoadBalancer::codesCheckUrl() const
{
    return "http://127.0.0.1:" + QString::number(m_port) + Sites::checkPath;
}

QString LoadBalancer::ownUrl() const
{
    return "http://127.0.0.1:" + QString::number(m_port) + "/own";
}

}  // namespace bench
