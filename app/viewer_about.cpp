// The about box.

#include "app/viewer.h"

#include <QMessageBox>

void Viewer::About()
{
    QMessageBox::about(this, tr("About Quorvale"), tr("Quorvale\nDVR browser\n\xC2\xA9 2016 The Quorvale Project\n"));
}
