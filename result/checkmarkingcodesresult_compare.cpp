#include "result/checkmarkingcodesresult.h"

#include <algorithm>
#include <tuple>

#include <QCborMap>

namespace {

template <class Value>
std::weak_ordering compare(const QMap<MarkingCode, Value>& a, const QMap<MarkingCode, Value>& b)
{
    return std::lexicographical_compare_three_way(a.keyValueBegin(), a.keyValueEnd(), b.keyValueBegin(),
                                                  b.keyValueEnd(),
                                                  [](const auto& x, const auto& y) { return x <=> y; });
}

}  // namespace

std::weak_ordering CheckMarkingCodesReply::operator<=>(const CheckMarkingCodesReply& other) const
{
    const auto parts = [](const CheckMarkingCodesReply& of) {
        return std::tuple(of.status(), of.url(), of.body(), of.errorKind(), of.isTimeout(),
                          of.isNetworkError(), of.networkError(), of.errorText().id(), of.errorText().ru(),
                          of.m_object.has_value(),
                          QCborMap::fromJsonObject(of.m_object.value_or(QJsonObject())));
    };
    return parts(*this) <=> parts(other);
}

using Result = CheckMarkingCodesResult;

std::weak_ordering Result::CodeStatus::operator<=>(const CodeStatus& other) const
{
    const auto parts = [](const CodeStatus& of) {
        return std::tuple(of.status.toInt(), of.message, of.ogvs, of.errorCode,
                          QCborMap::fromJsonObject(of.object));
    };
    return parts(*this) <=> parts(other);
}

std::weak_ordering Result::operator<=>(const Result& other) const
{
    const std::weak_ordering parts[] = {
        CheckMarkingCodesReply::operator<=>(other),
        std::tie(passedCodes, success) <=> std::tie(other.passedCodes, other.success),
        compare(failedCodes, other.failedCodes),
        compare(requestInfos, other.requestInfos),
        compare(expireDates, other.expireDates),
        compare(productWeights, other.productWeights),
        compare(mrps, other.mrps),
    };
    const auto* const differing = std::find_if(std::begin(parts), std::end(parts), std::is_neq);
    return differing != std::end(parts) ? *differing : std::weak_ordering::equivalent;
}
