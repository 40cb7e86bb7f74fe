#include "tests/support/seenqueues.h"

#include <QDeadlineTimer>
#include <QThread>

#include <thread>

#ifdef QUORVALE_THREAD_SANITIZER

extern "C" {
void __tsan_acquire(void *place);
void __tsan_release(void *place);
}

#else

static void __tsan_acquire(void *)
{
}
static void __tsan_release(void *)
{
}

#endif

namespace {

char toMainThread;
char toWorkers;
std::thread::id mainThread;

bool isMainThread()
{
    return std::this_thread::get_id() == mainThread;
}

} // namespace

SeenQueuesApplication::SeenQueuesApplication(int &argc, char **argv)
    : QApplication(argc, argv)
{
    mainThread = std::this_thread::get_id();
}

bool SeenQueuesApplication::notify(QObject *receiver, QEvent *event)
{
    if (isMainThread()) {
        __tsan_acquire(&toMainThread);
        return QApplication::notify(receiver, event);
    }
    __tsan_acquire(&toWorkers);
    const bool handled = QApplication::notify(receiver, event);
    __tsan_release(QThread::currentThread());
    return handled;
}

#ifdef QUORVALE_THREAD_SANITIZER

// The linker puts these in the place of Qt's functions of the same names, wherever our code calls
// them: QMetaObject::activate(), which every signal goes through, and both forms of QThread::wait().
extern "C" {

void __real__ZN11QMetaObject8activateEP7QObjectPKS_iPPv(QObject *, const QMetaObject *, int, void **);
bool __real__ZN7QThread4waitE14QDeadlineTimer(QThread *, QDeadlineTimer);
bool __real__ZN7QThread4waitEm(QThread *, unsigned long);

void __wrap__ZN11QMetaObject8activateEP7QObjectPKS_iPPv(QObject *sender, const QMetaObject *meta, int signal,
                                                        void **arguments)
{
    __tsan_release(isMainThread() ? &toWorkers : &toMainThread);
    __real__ZN11QMetaObject8activateEP7QObjectPKS_iPPv(sender, meta, signal, arguments);
}

bool __wrap__ZN7QThread4waitE14QDeadlineTimer(QThread *thread, QDeadlineTimer deadline)
{
    const bool ended = __real__ZN7QThread4waitE14QDeadlineTimer(thread, deadline);
    if (ended)
        __tsan_acquire(thread);
    return ended;
}

bool __wrap__ZN7QThread4waitEm(QThread *thread, unsigned long milliseconds)
{
    const bool ended = __real__ZN7QThread4waitEm(thread, milliseconds);
    if (ended)
        __tsan_acquire(thread);
    return ended;
}
}

#endif
