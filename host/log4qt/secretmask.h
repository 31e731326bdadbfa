#pragma once

#include <mutex>

#include <QString>
#include <QStringList>

namespace Log4Qt {

/// Makes secrets in log lines unreadable, see LogManager::addSecret(). A key may hold blanks, commas, quotes
/// and line feeds, so nothing but the end of the text is sure to end one that follows its header's name.
/// Addresses are also found percent-encoded as a whole. Internal to the library. Threads: any.
class SecretMask
{
public:
    void add(const QString& secret);

    [[nodiscard]] QString masked(const QString& text) const;

private:
    [[nodiscard]] QStringList secrets() const;

    mutable std::mutex m_secretsMutex;
    QStringList m_secrets;  ///< never changed in place: a reader keeps the list it took
};

}  // namespace Log4Qt
