#pragma once

#include <optional>
#include <vector>

#include <QDateTime>
#include <QString>

#include "result/checkmarkingcodesresult.h"

/// What one element of a reply's "codes" says. A missing field and one of a wrong type have their defaults.
struct ReplyEntry
{
    MarkingCode code;
    CheckMarkingCodesResult::Status flags;  ///< of the fields that are true or false, each by itself
    bool checkedOffline = false;            ///< of the flags only Blocked counts
    bool grayZone = false;
    std::optional<QDateTime> expireDate;  ///< invalid when the text is no date
    std::optional<int> productWeight;
    int mrp = 0;
    int groupId = 16;  ///< tobacco, when the reply names no group
    QString message;
    QString ogvs;
    int errorCode = 0;
};

/// What a reply to a check says. Internal to the result.
struct ReplyContent
{
    CheckMarkingCodesResult::RequestInfo request;
    std::vector<ReplyEntry> entries;  ///< one for every element of "codes", in their order

    /// Reads an object, whatever is in it.
    static ReplyContent fromObject(const QJsonObject& object);
    /// The same from a reply's bytes, without making a tree of them. Nothing when they are not plain JSON
    /// with an object at the top: then QJsonDocument decides what they are. Plain is JSON by the letter, in
    /// which no number has a fraction or an exponent, no field that is read stands twice, and nothing is
    /// nested deeply.
    static std::optional<ReplyContent> fromPlainJson(const QByteArray& json);
};
