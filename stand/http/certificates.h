#pragma once

#include <QDir>
#include <QString>
#include <QTemporaryDir>
#include <boost/asio/ssl/context.hpp>
#include <map>
#include <string>
#include <vector>

namespace marksim {

/// A certificate authority of this process alone and the server certificates that it signed, good and bad
/// ones.
class Certificates
{
public:
    /// Makes them all, for servers at the names and addresses `hosts`, and writes the authority's certificate
    /// to a temporary file. Throws std::runtime_error.
    explicit Certificates(const std::vector<std::string>& hosts);

    /// `kind`: as the behaviour "certificate" names it.
    [[nodiscard]] boost::asio::ssl::context& context(const QString& kind) { return m_contexts.at(kind); }
    /// PEM; the file lives as long as this object.
    [[nodiscard]] QString caFile() const { return QString::fromStdString(m_caFile); }

private:
    QTemporaryDir m_folder{QDir::tempPath() + QStringLiteral("/marksim-XXXXXX")};
    std::string m_caFile;
    std::map<QString, boost::asio::ssl::context> m_contexts;
};

}  // namespace marksim
