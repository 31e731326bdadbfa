#include "contracts/verify.h"
#include "tests/doubles/printers.h"
#include <gmock/gmock.h>

using control::Action;
using control::EActionType;
using control::args::marking::Verify;
using std::chrono::seconds;
using testing::IsEmpty;

namespace {

struct VerifyArguments : testing::Test
{
    const Action action{EActionType::VerifyMarking};
    const Verify view{action, ""};
};

/// Every argument that is read as text: its key, and the view's two operations.
struct Text
{
    const char* key;
    QString (Verify::*read)() const;
    void (Verify::*write)(const QString&) const;
};
const Text Texts[] = {
    {"section", &Verify::section, &Verify::setSection},
    {"productCode", &Verify::productCode, &Verify::setProductCode},
    {"packageCode", &Verify::packageCode, &Verify::setPackageCode},
    {"commitentTin", &Verify::commitentTin, &Verify::setCommitentTin},
    {"apiKey", &Verify::apiKey, &Verify::setApiKey},
};

TEST_F(VerifyArguments, ReadAsDefaultsWhenMissing)
{
    for (const Text& text : Texts) {
        EXPECT_EQ((view.*text.read)(), QString()) << text.key;
    }
    EXPECT_EQ(view.service(), Verify::NoService);
    EXPECT_EQ(view.markingCode(), MarkingCode());
    EXPECT_THAT(view.markingCodes(), IsEmpty());
    EXPECT_FALSE(view.refund());
    EXPECT_TRUE(view.verifyResult().isSuccess());
    EXPECT_EQ(view.requestTimeout(), seconds(0));
    EXPECT_EQ(view.operationTimeout(), seconds(0));
}

TEST_F(VerifyArguments, ReadAsDefaultsWhenTheyCannotBeConverted)
{
    for (const char* key : {"service", "markingCode", "markingCodes", "refund", "verifyResult",
                            "requestTimeout", "operationTimeout", "productCode"}) {
        action.insert(key, QVariant::fromValue(QList<int>{1}));
    }
    EXPECT_EQ(view.service(), Verify::NoService);
    EXPECT_EQ(view.markingCode(), MarkingCode());
    EXPECT_THAT(view.markingCodes(), IsEmpty());
    EXPECT_FALSE(view.refund());
    EXPECT_THAT(view.verifyResult().passedCodes, IsEmpty());
    EXPECT_EQ(view.requestTimeout(), seconds(0));
    EXPECT_EQ(view.operationTimeout(), seconds(0));
    EXPECT_EQ(view.productCode(), QString());
}

TEST_F(VerifyArguments, AreConvertedFromOtherTypes)
{
    action.insert("refund", "true");
    action.insert("service", 1);
    action.insert("productCode", qint64(4600439931256));
    action.insert("section", QByteArray("Motp"));
    action.insert("apiKey", QByteArray("Key"));
    EXPECT_TRUE(view.refund());
    EXPECT_EQ(view.service(), Verify::Crpt);
    EXPECT_EQ(view.productCode(), "4600439931256");
    EXPECT_EQ(view.section(), "motp");
    EXPECT_EQ(view.apiKey(), "Key");
}

TEST_F(VerifyArguments, AreStoredUnderTheirKeysAndSharedByAllViews)
{
    const Verify other(action, "");
    for (const Text& text : Texts) {
        (view.*text.write)(text.key);
        EXPECT_EQ((other.*text.read)(), text.key);
        EXPECT_EQ(action.value(text.key).metaType(), QMetaType::fromType<QString>());
    }
    view.setService("ESM");
    view.setMarkingCode(MarkingCode("A"));
    view.setMarkingCodes({MarkingCode("A"), MarkingCode("B")});
    view.setRefund(true);
    view.setRequestTimeout(seconds(3));
    view.setOperationTimeout(seconds(5));
    CheckMarkingCodesResult result;
    result.success = false;
    view.setVerifyResult(result);

    EXPECT_EQ(action.value("service").value<marking::Service>(), other.service());
    EXPECT_EQ(other.service(), Verify::Esm);
    EXPECT_EQ(action.value("markingCode").value<MarkingCode>(), MarkingCode("A"));
    EXPECT_EQ(action.value("markingCodes").value<QList<MarkingCode>>(), other.markingCodes());
    EXPECT_EQ(other.markingCodes().size(), 2);
    EXPECT_TRUE(action.value("refund").toBool() && other.refund());
    EXPECT_EQ(action.value("requestTimeout").value<seconds>(), seconds(3));
    EXPECT_EQ(other.operationTimeout(), seconds(5));
    EXPECT_FALSE(other.verifyResult().isSuccess());
    view.setRequestTimeout(seconds(4));
    EXPECT_EQ(other.requestTimeout(), seconds(4));
}

TEST_F(VerifyArguments, HaveTheSectionInLowerCaseHoweverItCameIn)
{
    view.setSection("MarkedGoods_1");
    EXPECT_EQ(action.value("section").toString(), "markedgoods_1");
    action.insert("section", "МАРКИ");
    EXPECT_EQ(view.section(), "марки");
}

TEST_F(VerifyArguments, TakeTheServiceOfTheConstructorOnlyWhenThereIsNone)
{
    EXPECT_FALSE(action.contains("service"));
    const Verify crpt(action, "Crpt");
    EXPECT_EQ(view.service(), Verify::Crpt);
    const Verify turon(action, "turon");
    EXPECT_EQ(view.service(), Verify::Crpt);
}

}  // namespace
