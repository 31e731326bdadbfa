#pragma once

#include <memory>
#include <mutex>

#include <QString>
#include <QStringList>

namespace Log4Qt {

/// Makes secrets in log lines unreadable: all but the last four characters of a secret become asterisks, all
/// of them when it has eight or fewer. Internal to the library. Threads: any.
///
/// Secrets are the registered ones, wherever they stand, and what follows "X-API-KEY" or "Authorization" (any
/// letter case) up to the end of the line. A key may hold blanks, commas and quotes, so nothing but the end
/// of the line is sure to end it; only a closing " (owner)" after an API key stays readable.
class SecretMask
{
public:
    /// Texts shorter than four characters are ignored. Of very many secrets the oldest are forgotten.
    void add(const QString& secret);

    [[nodiscard]] QString masked(const QString& text) const;

private:
    [[nodiscard]] std::shared_ptr<const QStringList> secrets() const;

    mutable std::mutex m_secretsMutex;
    /// Never changed in place: a reader keeps the list it took.
    std::shared_ptr<const QStringList> m_secrets = std::make_shared<const QStringList>();
};

}  // namespace Log4Qt
