#pragma once

#include <array>
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

/// The fields that are read of an object, shorter names first. Few of them have a key's length, and no two of
/// these its first and its last letter, so that one at most is compared with it as a whole.
template <class Target>
class ReplyFields
{
public:
    using Field = ReplyField<Target>;
    static constexpr size_t LongestName = 16;
    static constexpr size_t Most = 32;

    template <size_t Count>
    explicit constexpr ReplyFields(const std::array<Field, Count>& fields)
        : m_fields(fields)
    {
        static_assert(Count <= Most);
        size_t index = 0;
        for (size_t length = 0; length < m_starts.size(); ++length) {
            while (index < Count && fields[index].name.size() < length) {
                ++index;
            }
            m_starts[length] = index;
        }
    }

    [[nodiscard]] constexpr auto begin() const { return m_fields.begin(); }
    [[nodiscard]] constexpr auto end() const { return m_fields.end(); }

    /// Null for a field that is not read.
    [[nodiscard]] const Field* find(std::string_view name) const
    {
        if (name.size() > LongestName) {
            return nullptr;
        }
        for (size_t i = m_starts[name.size()]; i < m_starts[name.size() + 1]; ++i) {
            const std::string_view candidate = m_fields[i].name;
            if (candidate.front() == name.front() && candidate.back() == name.back()) {
                return candidate == name ? &m_fields[i] : nullptr;
            }
        }
        return nullptr;
    }

private:
    std::span<const Field> m_fields;
    std::array<size_t, LongestName + 2> m_starts{};  ///< of the names of each length
};

using EntryField = ReplyField<ReplyEntry>;
using RequestField = ReplyField<CheckMarkingCodesResult::RequestInfo>;

/// The array of what a reply says of codes.
constexpr std::string_view Codes = "codes";
/// Of this array the first element is read, the group.
constexpr std::string_view GroupIds = "groupIds";

[[nodiscard]] const ReplyFields<ReplyEntry>& entryFields();
[[nodiscard]] const ReplyFields<CheckMarkingCodesResult::RequestInfo>& requestFields();
