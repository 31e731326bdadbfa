// A reply's bytes read in one pass, without a tree.

#include <bitset>
#include <cstdint>
#include <string>
#include <utility>

#include <boost/json/basic_parser_impl.hpp>

#include "result/replyfields.h"

namespace {

namespace json = boost::json;

/// The fields of one object that have been there.
template <class Target>
class Seen
{
public:
    using Field = ReplyField<Target>;

    explicit Seen(const ReplyFields<Target>& fields)
        : m_fields(fields)
    {
    }

    void begin() { m_seen.reset(); }

    /// The field of this name, null for one that is not read. False when it stands in the object once more.
    [[nodiscard]] bool find(std::string_view name, const Field*& found)
    {
        found = m_fields.find(name);
        if (found == nullptr) {
            return true;
        }
        const auto place = size_t(found - &*m_fields.begin());
        const bool again = m_seen[place];
        m_seen[place] = true;
        return !again;
    }

private:
    const ReplyFields<Target>& m_fields;
    std::bitset<ReplyFields<Target>::Most> m_seen;
};

/// A text that the parser gives in parts when it has escapes.
class PartedText
{
public:
    void append(std::string_view part) { m_parts.append(part); }
    /// The whole text with its last part; valid until more is appended.
    std::string_view complete(std::string_view last)
    {
        if (m_parts.empty()) {
            return last;
        }
        m_parts.append(last);
        m_whole.swap(m_parts);
        m_parts.clear();
        return m_whole;
    }

private:
    std::string m_parts;
    std::string m_whole;
};

/// What the parser calls: fills in the content as the values come. False stops the parser, and leaves the
/// bytes to QJsonDocument.
class ContentHandler
{
    using Error = json::error_code;
    using Text = json::string_view;

public:
    // What the parser wants to know of its handler.
    static constexpr size_t max_array_size = SIZE_MAX;
    static constexpr size_t max_object_size = SIZE_MAX;
    static constexpr size_t max_string_size = SIZE_MAX;
    static constexpr size_t max_key_size = SIZE_MAX;

    ContentHandler() { m_around.reserve(UsualDepth); }

    bool on_document_begin(Error& /*error*/) { return true; }
    bool on_document_end(Error& /*error*/) { return true; }
    bool on_object_begin(Error& /*error*/);
    bool on_object_end(size_t /*members*/, Error& /*error*/) { return end(); }
    bool on_array_begin(Error& error);
    bool on_array_end(size_t /*elements*/, Error& /*error*/) { return end(); }
    bool on_key_part(Text part, size_t /*length*/, Error& /*error*/);
    bool on_key(Text last, size_t /*length*/, Error& error);
    bool on_string_part(Text part, size_t /*length*/, Error& /*error*/);
    bool on_string(Text last, size_t /*length*/, Error& /*error*/);
    bool on_number_part(Text /*part*/, Error& /*error*/) { return true; }
    bool on_int64(qint64 number, Text /*text*/, Error& /*error*/);
    bool on_uint64(quint64 /*number*/, Text /*text*/, Error& error) { return leave(error); }
    bool on_double(double /*number*/, Text /*text*/, Error& error) { return leave(error); }
    bool on_bool(bool truth, Error& /*error*/) { return take({.kind = FieldValue::Bool, .truth = truth}); }
    bool on_null(Error& /*error*/) { return take({.kind = FieldValue::Null}); }
    bool on_comment_part(Text /*part*/, Error& error) { return leave(error); }
    bool on_comment(Text /*text*/, Error& error) { return leave(error); }

    ReplyContent content;

private:
    /// What the values that come next are.
    enum class Place { Outside, Reply, Codes, Entry, Groups, Elsewhere };

    static constexpr size_t UsualDepth = 4;  // the reply, its codes, a code, its groups

    static bool leave(Error& error)
    {
        error = json::error::syntax;
        return false;
    }
    bool enter(Place place);
    bool end();
    bool take(const FieldValue& value);
    void takeGroup(const FieldValue& value);

    Place m_place = Place::Outside;
    std::vector<Place> m_around;  ///< the places that m_place is in

    Seen<CheckMarkingCodesResult::RequestInfo> m_requestFields{requestFields()};
    Seen<ReplyEntry> m_entryFields{entryFields()};
    const RequestField* m_requestField = nullptr;
    const EntryField* m_entryField = nullptr;
    bool m_isCodes = false;  ///< the value that comes next is that of "codes"
    bool m_hasCodes = false;
    bool m_hasGroup = false;
    PartedText m_key, m_text;
};

bool ContentHandler::enter(Place place)
{
    m_around.push_back(m_place);
    m_place = place;
    return true;
}

bool ContentHandler::end()
{
    m_place = m_around.back();
    m_around.pop_back();
    return true;
}

bool ContentHandler::on_object_begin(Error& /*error*/)
{
    if (m_place == Place::Outside) {
        return enter(Place::Reply);
    }
    if (m_place == Place::Codes) {
        content.entries.emplace_back();
        m_entryFields.begin();
        return enter(Place::Entry);
    }
    return take({}) && enter(Place::Elsewhere);
}

bool ContentHandler::on_array_begin(Error& error)
{
    if (m_place == Place::Outside) {
        return leave(error);
    }
    if (m_place == Place::Reply && m_isCodes) {
        return enter(Place::Codes);
    }
    if (m_place == Place::Entry && m_entryField != nullptr && m_entryField->name == GroupIds) {
        m_hasGroup = false;
        return enter(Place::Groups);
    }
    return take({}) && enter(Place::Elsewhere);
}

bool ContentHandler::on_key_part(Text part, size_t /*length*/, Error& /*error*/)
{
    m_key.append(part);
    return true;
}

bool ContentHandler::on_key(Text last, size_t /*length*/, Error& error)
{
    const std::string_view name = m_key.complete(last);
    if (m_place == Place::Entry) {
        return m_entryFields.find(name, m_entryField) || leave(error);
    }
    if (m_place == Place::Reply) {
        m_isCodes = name == Codes;
        return (m_requestFields.find(name, m_requestField) &&
                !(m_isCodes && std::exchange(m_hasCodes, true))) ||
               leave(error);
    }
    return true;
}

bool ContentHandler::on_string_part(Text part, size_t /*length*/, Error& /*error*/)
{
    m_text.append(part);
    return true;
}

bool ContentHandler::on_string(Text last, size_t /*length*/, Error& /*error*/)
{
    const std::string_view text = m_text.complete(last);
    return take({.kind = FieldValue::Text, .text = QAnyStringView(text.data(), qsizetype(text.size()))});
}

bool ContentHandler::on_int64(qint64 number, Text /*text*/, Error& /*error*/)
{
    return take({.kind = FieldValue::Integer, .number = number});
}

bool ContentHandler::take(const FieldValue& value)
{
    switch (m_place) {
    case Place::Outside:
        return false;
    case Place::Reply:
        if (m_requestField != nullptr) {
            m_requestField->read(content.request, value);
        }
        break;
    case Place::Codes:
        content.entries.emplace_back();
        break;
    case Place::Entry:
        if (m_entryField != nullptr) {
            m_entryField->read(content.entries.back(), value);
        }
        break;
    case Place::Groups:
        takeGroup(value);
        break;
    case Place::Elsewhere:
        break;
    }
    return true;
}

void ContentHandler::takeGroup(const FieldValue& value)
{
    if (!std::exchange(m_hasGroup, true)) {
        content.entries.back().groupId = value.toInt();
    }
}

}  // namespace

std::optional<ReplyContent> ReplyContent::fromPlainJson(const QByteArray& bytes)
{
    constexpr size_t bytesOfAnEntry = 512;  // about, where it has all fields
    json::basic_parser<ContentHandler> parser{json::parse_options()};
    json::error_code error;
    const auto size = size_t(bytes.size());
    parser.handler().content.entries.reserve(size / bytesOfAnEntry);
    if (parser.write_some(false, bytes.constData(), size, error) != size || error) {
        return {};
    }
    return std::move(parser.handler().content);
}
