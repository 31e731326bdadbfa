#include <QDataStream>
#include <QDebug>
#include <QIODevice>
#include <QVariant>

#include "contracts/verify.h"
#include "tests/doubles/printers.h"
#include <gmock/gmock.h>

namespace {

TEST(ServiceName, IsKnownInAnyLetterCaseAndAsAWholeOnly)
{
    const std::pair<const char*, int> cases[] = {
        {"crpt", 1},  {"CRPT", 1}, {"Turon", 2}, {"eSm", 3}, {"", 0},
        {"crpts", 0}, {"crp", 0},  {" crpt", 0}, {"1", 0},   {"црпт", 0},
    };
    for (const auto& [name, service] : cases) {
        EXPECT_EQ(int(marking::serviceFromText(name)), service) << name;
    }
}

template <class T>
void expectTravels(const T& smaller, const T& larger)
{
    const QVariant value = QVariant::fromValue(smaller);
    EXPECT_EQ(value.value<T>(), smaller);
    EXPECT_EQ(value, QVariant::fromValue(smaller));
    EXPECT_NE(value, QVariant::fromValue(larger));
    EXPECT_TRUE(QVariant::compare(value, QVariant::fromValue(larger)) == QPartialOrdering::Less);
    EXPECT_TRUE(QVariant::compare(QVariant::fromValue(larger), value) == QPartialOrdering::Greater);
}

TEST(Argument, TravelsInAVariantWithEqualityAndOrder)
{
    const MarkingCode a("A"), b("B");
    expectTravels(marking::Crpt, marking::Turon);
    expectTravels(a, b);
    expectTravels(QList<MarkingCode>{a}, QList<MarkingCode>{a, b});
    expectTravels(std::chrono::seconds(1), std::chrono::seconds(2));
    CheckMarkingCodesResult result;
    result.passedCodes = {a};
    EXPECT_EQ(QVariant::fromValue(result).value<CheckMarkingCodesResult>().passedCodes, result.passedCodes);
}

TEST(Service, IsPrintedAndStreamed)
{
    QString text;
    QDebug(&text).nospace() << QVariant::fromValue(marking::Esm);
    EXPECT_TRUE(text.contains('3')) << text.toStdString();

    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << QVariant::fromValue(marking::Turon);
    QDataStream in(bytes);
    QVariant read;
    in >> read;
    EXPECT_EQ(read, QVariant::fromValue(marking::Turon));
}

}  // namespace
