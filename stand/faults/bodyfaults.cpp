// What happens to the body of a reply, in this order.

#include "stand/faults/fault.h"
#include "stand/faults/gzip.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QStringList>
#include <array>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

/// `node` with the member at `path` set to `value`, or removed when that is undefined. A path that leads
/// nowhere changes nothing.
QJsonValue edited(const QJsonValue& node, const QStringList& path, const QJsonValue& value)
{
    if (path.isEmpty()) {
        return value;
    }
    if (node.isArray()) {
        QJsonArray result;
        const auto array = node.toArray();
        for (qsizetype i = 0; i < array.size(); ++i) {
            const bool meant = path.first() == u'*' || path.first() == QString::number(i);
            const auto element = meant ? edited(array[i], path.mid(1), value) : array[i];
            if (!element.isUndefined()) {
                result.append(element);
            }
        }
        return result;
    }
    if (!node.isObject()) {
        return node;
    }
    auto object = node.toObject();
    object.insert(path.first(),
                  edited(object.value(path.first()), path.mid(1), value));  // removed by undefined
    return object;
}

/// Changes a body that is a JSON object: `pointer` is a path as "/codes/0/valid" or "/codes/*".
void edit(Reply& reply, const QString& pointer, const QJsonValue& value)
{
    const auto body = QJsonDocument::fromJson(QByteArray::fromStdString(reply.answer.body)).object();
    if (!body.isEmpty()) {
        reply.answer.body = compactJson(edited(body, pointer.mid(1).split(u'/'), value).toObject());
    }
}

void set(Reply& reply, const QJsonValue& value)
{
    const auto changes = value.toObject();
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        edit(reply, change.key(), *change);
    }
}

void remove(Reply& reply, const QJsonValue& value)
{
    const auto pointers = value.toArray();
    for (const auto& pointer : pointers) {
        edit(reply, pointer.toString(), QJsonValue::Undefined);
    }
}

/// Room for the filler is a member "padding" in front of the object's others, so that the body stays valid
/// JSON.
void pad(Reply& reply, const QJsonValue& megabytes)
{
    constexpr std::string_view open = "{\"padding\":\"";
    auto& body = reply.answer.body;
    reply.filler.size = static_cast<std::uint64_t>(megabytes.toInt()) * Filler::block;
    if (body.starts_with('{')) {
        body.replace(0, 1, std::string(open) + (body.starts_with("{}") ? "\"" : "\","));
        reply.filler.at = open.size();
    }
}

void spoil(Reply& reply, const QJsonValue& value)
{
    auto& body = reply.answer.body;
    if (value == "empty"_L1) {
        body.clear();
        reply.filler = {};
    } else {
        body.resize(std::max(reply.filler.at, body.size() - std::min(body.size(), body.size() / 3 + 1)));
    }
}

void compress(Reply& reply, const QJsonValue& value)
{
    reply.answer.headers.emplace_back("Content-Encoding", "gzip");
    if (value == "gzip"_L1) {
        reply.answer.body = gzipped(reply.answer.body, reply.filler);
        reply.filler = {};
    }
}

constexpr auto faults = std::to_array<Fault>({
    {"set"_L1, set},
    {"remove"_L1, remove},
    {"padMegabytes"_L1, pad},
    {"payload"_L1, spoil},
    {"encoding"_L1, compress},
    {"framing"_L1, [](Reply& reply, const QJsonValue& value) { reply.framing = value.toString(); }},
});

}  // namespace

std::span<const Fault> bodyFaults()
{
    return faults;
}

}  // namespace marksim
