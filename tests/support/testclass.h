#pragma once

#include <QtTest> // and all of Qt Core: a test includes what it needs besides

namespace quorvale {

/// Runs a class of tests with Qt Test's arguments, as QTEST_MAIN() does.
using TestRun = int (*)(int argc, char **argv);

/// Makes a class of tests known to the executable that it is part of, under the name of its file.
struct TestClass
{
    TestClass(const char *file, TestRun run);
};

/// For tests that need no application object, or make their own.
struct NoApplication
{
    NoApplication(int &, char **) {}
};

// Qt Test's hook for what has to happen before there is an application object.
template <typename Tests>
auto callInitMain(int) -> decltype(Tests::initMain())
{
    Tests::initMain();
}
template <typename Tests>
void callInitMain(long)
{
}

template <typename Tests, typename Application>
int runTests(int argc, char **argv)
{
    callInitMain<Tests>(0);
    [[maybe_unused]] const Application application(argc, argv);
    if (QCoreApplication::instance())
        QCoreApplication::setAttribute(Qt::AA_Use96Dpi); // as QTEST_MAIN() does: texts are equally wide everywhere
    Tests tests;
    return QTest::qExec(&tests, argc, argv);
}

} // namespace quorvale

/// What ends the file of a class of tests: the application object that they need is a QApplication, a QCoreApplication
/// or quorvale::NoApplication. A test with an executable of its own has QTEST_MAIN() or a main() instead.
#define TEST_CLASS(Tests, Application)                                                                                 \
    static const quorvale::TestClass registered##Tests(__FILE__, quorvale::runTests<Tests, Application>);
