#pragma once

#include <span>
#include <string_view>

#include <QAnyStringView>

#include "result/replycontent.h"

/// The value of a field as far as it can matter.
struct FieldValue
{
    /// Other: an array or an object.
    enum Kind : quint8 { Null, Bool, Integer, Text, Other };

    Kind kind = Other;
    bool truth = false;  ///< false also for what is no Bool
    qint64 number = 0;   ///< 0 also for what is no Integer
    QAnyStringView text = {};

    [[nodiscard]] qint64 toInteger() const { return number; }
    /// 0 when it does not fit.
    [[nodiscard]] int toInt() const;
    [[nodiscard]] QString toString() const { return text.toString(); }
};

/// A field that is read: its name, and what a value in it does to what is read.
template <class Target>
struct ReplyField
{
    std::string_view name;
    void (*read)(Target&, const FieldValue&);
};

using EntryField = ReplyField<ReplyEntry>;
using RequestField = ReplyField<CheckMarkingCodesResult::RequestInfo>;

/// The array of what a reply says of codes.
constexpr std::string_view Codes = "codes";
/// Of this array the first element is read, the group.
constexpr std::string_view GroupIds = "groupIds";

[[nodiscard]] std::span<const EntryField> entryFields();
[[nodiscard]] std::span<const RequestField> requestFields();
