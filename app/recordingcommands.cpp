#include "app/recordingcommands.h"

#include "app/descriptiondocument.h"
#include "app/descriptionmarkup.h"
#include "app/displaypath.h"
#include "app/displaytext.h"
#include "platform/desktopopener.h"

#include <QCoreApplication>
#include <QMessageBox>
#include <QMimeData>
#include <QTextCursor>
#include <QUrl>

#include <filesystem>
#include <system_error>

namespace quorvale {

namespace {

// Does not wait for the user: a player may fail long after it was started.
void tell(QWidget &window, const QString &text)
{
    auto *box = new QMessageBox(QMessageBox::Warning, QStringLiteral("Quorvale"), QString(), QMessageBox::Ok,
                                &window); // deletes itself when it is closed
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setTextFormat(Qt::PlainText); // a path is not markup
    box->setText(text);
    box->open();
}

QString shown(const Recording &recording)
{
    return pathInText(displayText(recording.mainFile));
}

// Looks for the file by its bytes: its name need not be text.
bool hasFile(const Recording &recording, QWidget &window)
{
    std::error_code error;
    if (std::filesystem::exists(recording.mainFile, error))
        return true;
    tell(window, QCoreApplication::translate("Viewer", "There is no file %1.").arg(shown(recording)));
    return false;
}

} // namespace

void playRecording(const Recording &recording, QWidget &window)
{
    if (!hasFile(recording, window))
        return;
    openWithDesktop(QByteArray::fromStdString(recording.mainFile), &window, [recording, &window] {
        tell(window, QCoreApplication::translate("Viewer", "%1 could not be played. Is there a program that plays MPEG "
                                                           "transport streams?")
                         .arg(shown(recording)));
    });
}

void showRecording(const Recording &recording, QWidget &window)
{
    if (!hasFile(recording, window))
        return;
    showInFileManager(QByteArray::fromStdString(recording.mainFile), &window, [recording, &window] {
        tell(window, QCoreApplication::translate("Viewer", "%1 could not be shown. Is there a file manager?")
                         .arg(shown(recording)));
    });
}

QString plainDescription(const Recording &recording)
{
    DescriptionDocument document;
    insertDescription(QTextCursor(&document), displayText(recording.description));
    return document.toPlainText();
}

QMimeData *recordingFiles(const Recording &recording)
{
    QList<QUrl> files;
    std::string piece = recording.mainFile;
    for (std::error_code error; std::filesystem::exists(piece, error);
         piece = recording.mainFile + std::to_string(files.size()))
        files.append(QUrl::fromEncoded("file://" + QByteArray::fromStdString(piece).toPercentEncoding("/")));
    if (files.isEmpty())
        return nullptr;
    auto *data = new QMimeData;
    data->setUrls(files);
    return data;
}

} // namespace quorvale
