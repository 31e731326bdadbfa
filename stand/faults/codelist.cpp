#include "stand/faults/codelist.h"

#include "stand/goods/codeparts.h"

#include <QVariant>
#include <algorithm>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

bool names(const QStringList& list, const QString& code)
{
    const auto parts = list.isEmpty() ? CodeParts() : readCode(code);
    return std::ranges::any_of(list, [&parts](const QString& named) {
        return named == u'*' || readCode(named).text == parts.text || readCode(named).text == parts.cis;
    });
}

QJsonObject contradicted(QJsonObject entry)
{
    entry["isBlocked"_L1] = !entry["isBlocked"_L1].toBool();
    return entry;
}

}  // namespace

CodeListEdit::CodeListEdit(const QJsonObject& answers)
    : m_omit(answers["omit"_L1].toVariant().toStringList())
    , m_repeat(answers["repeat"_L1].toVariant().toStringList())
    , m_contradict(answers["contradict"_L1].toVariant().toStringList())
    , m_add(answers["add"_L1].toVariant().toStringList())
    , m_groups(answers["groups"_L1].toInt(1))
{
}

QJsonArray CodeListEdit::entries(const QStringList& codes,
                                 const std::function<QJsonObject(const QString&)>& entryOf) const
{
    QJsonArray list;
    for (const auto& code : codes) {
        if (!names(m_omit, code)) {
            list.append(entryOf(code));
        }
    }
    for (const auto& code : codes) {
        if (names(m_repeat, code)) {
            list.append(entryOf(code));
        }
        if (names(m_contradict, code)) {
            list.append(contradicted(entryOf(code)));
        }
    }
    for (const auto& code : m_add) {
        list.append(entryOf(code));
    }
    return list;
}

QList<QJsonArray> CodeListEdit::grouped(const QJsonArray& entries) const
{
    QList<QJsonArray> groups(m_groups);
    for (qsizetype i = 0; m_groups > 0 && i < entries.size(); ++i) {
        groups[i * m_groups / entries.size()].append(entries[i]);
    }
    return groups;
}

}  // namespace marksim
