#include "jsonedit.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

/// `node` with the change made at `path[depth...]`; nothing when the node itself is to go.
std::optional<QJsonValue> changed(const QJsonValue& node, const JsonEdit& edit, qsizetype depth)
{
    const auto& [path, value] = edit;
    if (depth == path.size())
        return value;
    if (node.isArray()) {
        QJsonArray result;
        const auto array = node.toArray();
        for (qsizetype i = 0; i < array.size(); ++i) {
            const bool meant = path[depth] == u'*' || path[depth] == QString::number(i);
            const auto element =
                meant ? changed(array[i], edit, depth + 1) : std::optional<QJsonValue>(array[i]);
            if (element)
                result.append(*element);
        }
        return result;
    }
    if (!node.isObject())
        return node;
    auto object = node.toObject();
    if (const auto member = changed(object.value(path[depth]), edit, depth + 1))
        object[path[depth]] = *member;
    else
        object.remove(path[depth]);
    return object;
}

}  // namespace

std::string edited(const std::string& json, const std::vector<JsonEdit>& edits)
{
    auto root = QJsonDocument::fromJson(QByteArray::fromStdString(json)).object();
    if (root.isEmpty())
        return json;
    for (const auto& edit : edits) {
        if (const auto result = changed(root, edit, 0))
            root = result->toObject();
    }
    return QJsonDocument(root).toJson(QJsonDocument::Compact).toStdString();
}

}  // namespace marksim
