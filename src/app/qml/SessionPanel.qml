import QtQuick
import QtQuick.Layouts
import Korvalume.Desk

// A log open after the shoot: its facts, the sync map chart and one card per camera.
Flickable {
    id: panel
    required property DeskView view
    signal folderRequested(string cameraId, string cameraName)
    contentHeight: column.implicitHeight + 80
    clip: true

    ColumnLayout {
        id: column
        x: 40
        y: 40
        width: panel.width - 80
        spacing: 14

        Text {
            objectName: "sessionHeading"
            Layout.fillWidth: true
            text: panel.view.sessionHeading
            font: Kit.mono(26, Font.Bold)
            elide: Text.ElideRight
            color: Kit.ink
        }
        RowLayout {
            spacing: 18
            Text {
                objectName: "sessionFacts"
                text: panel.view.sessionFacts
                font: Kit.mono(10, Font.DemiBold)
                color: Kit.ink
            }
            Text {
                text: panel.view.sessionStart
                font: Kit.mono(10)
                color: Qt.rgba(0, 0, 0, 0.55)
            }
        }
        Text {
            objectName: "message"
            visible: text.length > 0
            Layout.fillWidth: true
            text: panel.view.message
            wrapMode: Text.WordWrap
            font: Kit.mono(11, Font.DemiBold)
            color: Kit.recRed
        }
        RowLayout {
            visible: panel.view.savedName.length > 0
            spacing: 12
            Text {
                objectName: "savedLine"
                text: "LOG SAVED / " + panel.view.savedName
                font: Kit.mono(10, Font.DemiBold)
                color: Kit.ink
            }
            StyledButton {
                text: "SHOW"
                size: 9
                onClicked: panel.view.showSaved()
            }
        }

        SectionLabel {
            text: "SYNC MAP"
            Layout.topMargin: 6
        }
        SyncMapChart {
            objectName: "syncMapChart"
            Layout.fillWidth: true
            model: panel.view.model
        }

        SectionLabel {
            text: "CAMERA FOLDERS"
            Layout.topMargin: 6
        }
        GridLayout {
            Layout.fillWidth: true
            columns: Math.max(1, Math.floor(width / 420))
            columnSpacing: 14
            rowSpacing: 14
            Repeater {
                model: panel.view.cards
                delegate: CameraCard {
                    required property var modelData
                    card: modelData
                    Layout.fillWidth: true
                    Layout.alignment: Qt.AlignTop
                    onFolderRequested: panel.folderRequested(modelData.cameraId, modelData.name)
                    onDropped: urls => panel.view.dropOnCard(modelData.cameraId, urls)
                }
            }
        }
    }
}
