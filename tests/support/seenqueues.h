#pragma once

#include <QApplication>

/// An application whose event queues ThreadSanitizer sees.
///
/// Qt as distributed is not built for that check, so whatever is handed over through its queues looks unguarded. In a
/// build with ThreadSanitizer this tells it what the queues order, and no more than that:
///
///     a signal that a worker's thread emits      comes before   every event that the main thread handles later
///     a signal that the main thread emits        comes before   every event that a worker's thread handles later
///     every event that a worker's thread handled comes before   the return of QThread::wait() for that thread
///
/// Only signals of our own classes count. In other builds it is a QApplication.
class SeenQueuesApplication : public QApplication
{
    Q_OBJECT

public:
    SeenQueuesApplication(int &argc, char **argv);

    bool notify(QObject *receiver, QEvent *event) override;
};

/// QTEST_MAIN() with such an application.
#define SEEN_QUEUES_TEST_MAIN(TestClass)                                                                               \
    int main(int argc, char **argv)                                                                                    \
    {                                                                                                                  \
        SeenQueuesApplication application(argc, argv);                                                                 \
        TestClass test;                                                                                                \
        return QTest::qExec(&test, argc, argv);                                                                        \
    }
