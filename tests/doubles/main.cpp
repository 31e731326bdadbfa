#include <QCoreApplication>

#include <gmock/gmock.h>
#include <log4qt/logmanager.h>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Log4Qt::LogManager::configure({.level = Log4Qt::Level::Debug, .file = "/dev/null"});
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
