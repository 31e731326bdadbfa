#include <log4qt/secretmask.h>

#include <algorithm>
#include <array>

#include <QStringView>

namespace Log4Qt {

namespace {

constexpr qsizetype ShortestSecret = 4;
constexpr qsizetype HiddenWholeUpTo = 8;
constexpr qsizetype ReadableEnd = 4;
constexpr qsizetype MostSecrets = 256;

struct SecretHeader
{
    QStringView name;
    bool ownerMayFollow;
};
constexpr std::array secretHeaders = {SecretHeader{u"X-API-KEY", true},
                                      SecretHeader{u"Authorization", false}};

void hide(QString& text, qsizetype start, qsizetype length)
{
    const qsizetype hidden = length <= HiddenWholeUpTo ? length : length - ReadableEnd;
    std::fill_n(text.begin() + start, hidden, QChar(u'*'));
}

bool standsBetweenNameAndValue(QChar c)
{
    return c == u' ' || c == u'\t' || c == u':' || c == u'=' || c == u'"' || c == u'\'' || c == u',';
}

/// `value` without a closing " (owner)"; the owner's name may itself hold balanced parentheses.
QStringView withoutOwner(QStringView value)
{
    if (!value.endsWith(u')')) {
        return value;
    }
    qsizetype depth = 0;
    for (qsizetype i = value.size() - 1; i > 0; --i) {
        depth += value[i] == u')' ? 1 : 0;
        depth -= value[i] == u'(' ? 1 : 0;
        if (depth == 0) {
            return value[i - 1] == u' ' ? value.first(i - 1) : value;
        }
    }
    return value;
}

/// Hides in `masked` what follows the header's name in each line of `text`.
void hideHeader(const SecretHeader& header, QStringView text, QString& masked)
{
    qsizetype at = text.indexOf(header.name, 0, Qt::CaseInsensitive);
    while (at >= 0) {
        qsizetype start = at + header.name.size();
        while (start < text.size() && standsBetweenNameAndValue(text[start])) {
            ++start;
        }
        qsizetype end = start;
        while (end < text.size() && text[end] != u'\n' && text[end] != u'\r') {
            ++end;
        }
        QStringView value = text.sliced(start, end - start).trimmed();
        value = header.ownerMayFollow ? withoutOwner(value) : value;
        hide(masked, start, value.size());
        at = text.indexOf(header.name, end, Qt::CaseInsensitive);
    }
}

void hideSecret(const QString& secret, const QString& text, QString& masked)
{
    for (qsizetype at = text.indexOf(secret); at >= 0; at = text.indexOf(secret, at + 1)) {
        hide(masked, at, secret.size());
    }
}

}  // namespace

void SecretMask::add(const QString& secret)
{
    if (secret.size() < ShortestSecret || secrets()->contains(secret)) {
        return;
    }
    const std::lock_guard lock(m_secretsMutex);
    auto changed = std::make_shared<QStringList>(*m_secrets);
    // A copy of the characters: a secret that is a literal lies in a library that may be unloaded.
    changed->append(QString(secret.constData(), secret.size()));
    if (changed->size() > MostSecrets) {
        changed->removeFirst();
    }
    m_secrets = std::move(changed);
}

QString SecretMask::masked(const QString& text) const
{
    // Everything is looked for in the text as it came, so that one secret inside another is still found.
    QString masked = text;
    const auto known = secrets();  // kept: another thread may be adding one
    for (const QString& secret : *known) {
        hideSecret(secret, text, masked);
    }
    for (const SecretHeader& header : secretHeaders) {
        hideHeader(header, text, masked);
    }
    return masked;
}

std::shared_ptr<const QStringList> SecretMask::secrets() const
{
    const std::lock_guard lock(m_secretsMutex);
    return m_secrets;
}

}  // namespace Log4Qt
