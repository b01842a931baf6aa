import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Dialogs
import QtQuick.Layouts
import Korvalume.Desk

// The desk's one window: sidebar of steps, then the panel for the model's state.
ApplicationWindow {
    id: window
    required property DeskModel model
    property real fixedNow: 0
    property bool hasFixedNow: false
    property alias view: deskView

    title: "Korvalume Desk"
    width: 1440
    height: 900
    minimumWidth: 980
    minimumHeight: 640
    visible: true
    color: Kit.paper

    DeskView {
        id: deskView
        objectName: "deskView"
        model: window.model
        fixedNow: window.fixedNow
        hasFixedNow: window.hasFixedNow
    }

    menuBar: MenuBar {
        Menu {
            title: qsTr("&File")
            Action {
                text: "Open Session Log..."
                shortcut: StandardKey.Open
                onTriggered: openLogs.open()
            }
            Action {
                text: "Open Join Link..."
                onTriggered: joinDialog.open()
            }
            MenuSeparator {}
            Action {
                text: qsTr("&Quit")
                shortcut: StandardKey.Quit
                onTriggered: Qt.quit()
            }
        }
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        Sidebar {
            objectName: "sidebar"
            view: deskView
            Layout.preferredWidth: 300
            Layout.fillHeight: true
            onSaveRequested: saveLog.open()
            onExportRequested: exportMap.open()
        }

        Loader {
            id: content
            objectName: "content"
            Layout.fillWidth: true
            Layout.fillHeight: true
            sourceComponent: deskView.panel === DeskView.Welcome ? welcome
                           : deskView.panel === DeskView.Live ? liveView : sessionPanel
        }
    }

    Component {
        id: welcome
        WelcomePanel {
            objectName: "welcomePanel"
            view: deskView
            onOpenRequested: openLogs.open()
        }
    }
    Component {
        id: sessionPanel
        SessionPanel {
            objectName: "sessionPanel"
            view: deskView
            onFolderRequested: (cameraId, cameraName) => {
                chooseFolder.cameraId = cameraId;
                chooseFolder.title = deskView.folderPanelText(cameraName);
                chooseFolder.open();
            }
        }
    }
    Component {
        id: liveView
        LiveView {
            objectName: "liveView"
            view: deskView
        }
    }

    // Files dropped anywhere go to the model; a camera card takes folders first.
    DropArea {
        anchors.fill: parent
        z: -1
        keys: ["text/uri-list"]
        onDropped: event => {
            if (event.hasUrls) {
                deskView.openFiles(event.urls);
                event.accept(Qt.CopyAction);
            }
        }
    }

    FileDialog {
        id: openLogs
        title: deskView.openPanelText
        fileMode: FileDialog.OpenFiles
        nameFilters: ["Korvalume session logs (*.korvalume)", "All files (*)"]
        onAccepted: deskView.openFiles(selectedFiles)
    }
    FileDialog {
        id: saveLog
        title: deskView.savePanelText
        fileMode: FileDialog.SaveFile
        nameFilters: ["Korvalume session logs (*.korvalume)"]
        defaultSuffix: "korvalume"
        selectedFile: deskView.proposedFile(deskView.proposedLogName)
        onAccepted: deskView.saveLogTo(selectedFile)
    }
    FileDialog {
        id: exportMap
        title: deskView.exportPanelText
        fileMode: FileDialog.SaveFile
        nameFilters: ["XML files (*.xml)"]
        defaultSuffix: "xml"
        selectedFile: deskView.proposedFile(deskView.proposedExportName)
        onAccepted: deskView.exportTo(selectedFile)
    }
    FolderDialog {
        id: chooseFolder
        property string cameraId
        onAccepted: deskView.setFolder(cameraId, selectedFolder)
    }

    KitDialog {
        id: reportDialog
        objectName: "reportDialog"
        title: "Log combined"
        text: deskView.reportText
        acceptText: "OK"
        visible: deskView.reportText.length > 0
        onClosed: deskView.dismissReport()
    }

    KitDialog {
        id: endDialog
        objectName: "endDialog"
        title: deskView.confirmTitle
        text: deskView.confirmMessage
        acceptText: deskView.confirmButton
        destructive: true
        rejectText: "Cancel"
        visible: deskView.confirmEnd
        onAccepted: deskView.endLive()
        onClosed: deskView.confirmEnd = false
    }

    KitDialog {
        id: joinConfirmDialog
        objectName: "joinConfirmDialog"
        title: deskView.joinConfirmTitle
        text: deskView.joinConfirmMessage
        acceptText: deskView.joinConfirmButton
        destructive: true
        rejectText: "Cancel"
        visible: deskView.confirmJoin
        onAccepted: deskView.joinAfterAll()
        onClosed: if (deskView.confirmJoin) deskView.keepOpenLog()
    }

    KitDialog {
        id: joinDialog
        objectName: "joinDialog"
        title: "Open Join Link"
        text: "Paste the session's join link. This desk follows the session without owning it."
        acceptText: "JOIN"
        rejectText: "Cancel"
        showField: true
        onAccepted: deskView.openJoinLink(field)
    }
}
