#include "platform/newdisknotifier.h"

NewDiskNotifier::NewDiskNotifier(QObject *parent)
    : QObject(parent)
{
}

void NewDiskNotifier::Notify()
{
    emit disksChanged();
}
