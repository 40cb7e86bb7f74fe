#pragma once

#include <QMap>
#include <QMetaMethod>
#include <QObject>

/// Every signal of `object` that is connected, with the number of its connections. Any thread may ask.
inline QMap<QByteArray, int> receiversOf(const QObject &object)
{
    struct Opened : QObject
    {
        using QObject::receivers;
    };
    QMap<QByteArray, int> connected;
    for (int i = 0; i < object.metaObject()->methodCount(); ++i) {
        const QMetaMethod method = object.metaObject()->method(i);
        if (method.methodType() != QMetaMethod::Signal)
            continue;
        // As SIGNAL() writes it.
        const QByteArray signal = QByteArray::number(QSIGNAL_CODE) + method.methodSignature();
        if (const int count = (object.*&Opened::receivers)(signal.constData()))
            connected.insert(method.name(), count);
    }
    return connected;
}
