// Export of the selected programme's description to a file of the user's choice.

#include "app/viewer.h"

#include "app/dateorder.h"
#include "app/descriptionexport.h"

#include <QFileDialog>

using namespace quorvale;

void Viewer::exportMeta()
{
    if (currentProgramme < 0)
        return;
    const QString fileName = QFileDialog::getSaveFileName(this, tr("Save meta file"), QString(), QString());
    if (fileName.isEmpty())
        return;
    // The window went on while the dialog was open: another programme may be selected by now, or none.
    if (currentProgramme < 0 || static_cast<std::size_t>(currentProgramme) >= programmes.size())
        return;
    const Programme programme = programmes[static_cast<std::size_t>(currentProgramme)];
    writeDescription(fileName, descriptionText(programme, dateOrder(dateFormat)));
}
