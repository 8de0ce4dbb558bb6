// Entry point of every GoogleTest binary: isolate the environment before any test runs.
#include "IsolatedEnvironment.h"
#include "TestRepository.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    IsolatedEnvironment environment;
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    TestRepository::failureHandler
        = [](const QString &message) { ADD_FAILURE() << message.toStdString(); };
    return RUN_ALL_TESTS();
}
