<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" sourcelanguage="en">
<context>
    <name>MainWindow</name>
    <message>
        <source>Tessarine</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Devices</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Programme:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Channel:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Date Recorded:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Time:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File Size:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open in Finder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Play Position:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>About...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export Description...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Directory...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Preferences...</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Viewer</name>
    <message>
        <source>Today</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Yesterday</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1h %2m %3s</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>MB</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>GB</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>About Quorvale</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quorvale
DVR browser
© 2016 The Quorvale Project
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Programmes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Devices</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Description</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pictures</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select directory containing DVR</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Incorrect Directory</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The directory does not contain a recordings archive
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save meta file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Drive Mount Point:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>dd.mm.yyyy</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>mm.dd.yyyy</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>yyyy.mm.dd</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Date Format:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No mount point is set. Choose in the preferences where disks are mounted, or open a directory.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>There is no directory %1. Choose in the preferences where disks are mounted, or open a directory.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Here it seems to be %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 is a disk itself. The mount point is the directory around it: set it to %2 in the preferences.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quorvale will look in %1 when a disk comes or goes, and whenever it is started.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No recorder disk in %1. Plug one in, choose another mount point in the preferences, or open a directory.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Click a device to list its programmes.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The list of recordings on %1 cannot be read. Is the disk still there, and may you read it?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>There are no recordings on %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>no pictures can be had</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>1 picture</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>%n pictures</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>pictures are being made</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Play</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show in File Manager</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy Description</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>There is no file %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 could not be played. Is there a program that plays MPEG transport streams?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 could not be shown. Is there a file manager?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>no pictures yet: click its device again later</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
