#include "stand/faults/codelist.h"

#include "stand/goods/codeparts.h"

#include <QVariant>
#include <algorithm>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

QStringList textsOf(const QJsonValue& list)
{
    return list.toVariant().toStringList();
}

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

QJsonArray editedEntries(const QStringList& codes, const QJsonObject& answers,
                         const std::function<QJsonObject(const QString&)>& entryOf)
{
    const auto omit = textsOf(answers["omit"_L1]);
    const auto repeat = textsOf(answers["repeat"_L1]);
    const auto contradict = textsOf(answers["contradict"_L1]);
    QJsonArray list;
    for (const auto& code : codes) {
        if (!names(omit, code)) {
            list.append(entryOf(code));
        }
    }
    for (const auto& code : codes) {
        if (names(repeat, code)) {
            list.append(entryOf(code));
        }
        if (names(contradict, code)) {
            list.append(contradicted(entryOf(code)));
        }
    }
    for (const auto& code : textsOf(answers["add"_L1])) {
        list.append(entryOf(code));
    }
    return list;
}

QList<QJsonArray> grouped(const QJsonArray& entries, const QJsonObject& answers)
{
    const auto count = answers["groups"_L1].toInt(1);
    QList<QJsonArray> groups(count);
    for (qsizetype i = 0; count > 0 && i < entries.size(); ++i) {
        groups[i * count / entries.size()].append(entries[i]);
    }
    return groups;
}

}  // namespace marksim
