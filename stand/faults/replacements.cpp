// What is sent in place of the reply that the server would have given.

#include "stand/faults/fault.h"

#include <array>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

constexpr auto faults = std::to_array<Fault>({
    {"status"_L1,
     [](Reply& reply, const QJsonValue& value) {
         reply.answer = Answer::refusal(value.toInt(), reasonPhrase(value.toInt()));
     }},
    {"body"_L1,
     [](Reply& reply, const QJsonValue& value) { reply.answer.body = compactJson(value.toObject()); }},
    {"text"_L1,
     [](Reply& reply, const QJsonValue& value) { reply.answer.body = value.toString().toStdString(); }},
    {"raw"_L1, [](Reply& reply, const QJsonValue& value) { reply.raw = value.toString().toStdString(); }},
    {"rawBase64"_L1,
     [](Reply& reply, const QJsonValue& value) {
         reply.raw = QByteArray::fromBase64(value.toString().toLatin1()).toStdString();
     }},
});

}  // namespace

std::span<const Fault> replacements()
{
    return faults;
}

}  // namespace marksim
