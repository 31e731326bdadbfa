#pragma once

#include <compare>

#include <QHashFunctions>
#include <QList>
#include <QMetaType>
#include <QString>

#include <utils/export.h>

/// One marking code of a marked good.
///
/// The type holds one canonical text, and the constructor takes either of the two forms in which codes
/// travel:
///  - a text that is strict standard Base64 (length, alphabet, padding, no stray bits) of printable text in
///    UTF-8, GS included, and does not begin with two digits stands for the decoded text;
///  - any other text stands for itself.
/// A leading FNC1, as a scanner reports it ("]d2", "]C1", "]Q3" or GS), is not part of the canonical text.
///
/// What is decoded is read by the same rules again, so that no canonical text is itself Base64 of a text, nor
/// is a cis(): `MarkingCode(code.toString()) == code` and `MarkingCode(code.cis()).toString() == code.cis()`
/// hold for every code.
///
/// The two forms cannot be mistaken for each other in the codes in use: they begin with two digits, as no
/// Base64 of Latin or Russian text does, or hold a character outside the alphabet, such as
/// "RU-401301-AAA7277031", and a long code of letters alone decodes to bytes that are no text. A made-up code
/// that is Base64 of a text ("QUJD" of "ABC") is one and the same code with that text, for till, operator and
/// module alike.
///
/// Equality, ordering and hash are those of the canonical text. A value type; threads as for QString.
class ORVEX_EXPORT MarkingCode
{
public:
    /// The empty code.
    MarkingCode() = default;
    explicit MarkingCode(const QString& text);

    [[nodiscard]] bool isEmpty() const { return m_text.isEmpty(); }

    /// The canonical text with its GS characters: what is sent to the operator.
    [[nodiscard]] const QString& toString() const { return m_text; }

    /// The text for logs, see utils::printable(): GS as "<GS>", what could disturb a line as "\uXXXX".
    [[nodiscard]] QString toReadable() const;

    /// The identifying part:
    ///  - GS1 code: AI 01 with AI 21 up to GS. Where GS is missing, the serial ends where a known tail (AIs
    ///    91, 92, 93 or 8005) ends the text; it is taken whole when that cannot be told;
    ///  - 29-character tobacco pack: GTIN and serial (21 characters);
    ///  - anything else: the text itself.
    [[nodiscard]] QString cis() const;

    friend bool operator==(const MarkingCode& a, const MarkingCode& b) { return a.m_text == b.m_text; }
    friend std::strong_ordering operator<=>(const MarkingCode& a, const MarkingCode& b)
    {
        return a.m_text.compare(b.m_text) <=> 0;
    }
    friend size_t qHash(const MarkingCode& code, size_t seed = 0) { return qHash(code.m_text, seed); }

private:
    QString m_text;
};

Q_DECLARE_METATYPE(MarkingCode)
