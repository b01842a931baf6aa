import QtQuick
import QtQuick.Layouts
import Korvalume.Desk

// One camera: its folder, its clips with how each was placed, and its warnings.
// A folder dropped on the card is read for this camera; files go where files dropped
// anywhere go.
Rectangle {
    id: card
    property var card: ({})
    signal folderRequested
    signal dropped(var urls)
    objectName: "cameraCard:" + (card.card.name || "")
    implicitHeight: column.implicitHeight + 28
    color: drop.containsDrag ? Qt.rgba(0.96, 0.65, 0.14, 0.12) : "white"
    border.width: drop.containsDrag ? 2 : 1
    border.color: drop.containsDrag ? Kit.amber : Kit.rule

    DropArea {
        id: drop
        objectName: "folderDrop"
        anchors.fill: parent
        keys: ["text/uri-list"]
        onDropped: event => {
            if (event.hasUrls && event.urls.length > 0) {
                card.dropped(event.urls);
                event.accept(Qt.CopyAction);
            }
        }
    }

    ColumnLayout {
        id: column
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: 14
        spacing: 8

        RowLayout {
            Layout.fillWidth: true
            spacing: 10
            Text {
                text: card.card.name || ""
                font: Kit.mono(13, Font.Bold)
                color: Kit.ink
            }
            Text {
                Layout.fillWidth: true
                text: card.card.kindLink || ""
                font: Kit.mono(9)
                color: Qt.rgba(0, 0, 0, 0.5)
            }
            StyledButton {
                objectName: "folderButton"
                text: card.card.folderButton || "CHOOSE FOLDER"
                size: 9
                onClicked: card.folderRequested()
            }
        }
        Text {
            Layout.fillWidth: true
            text: card.card.folder || ""
            visible: text.length > 0
            elide: Text.ElideMiddle
            font: Kit.mono(9)
            color: Qt.rgba(0, 0, 0, 0.6)
        }
        Hairline {
            Layout.fillWidth: true
        }
        Text {
            objectName: "cardStatus"
            Layout.fillWidth: true
            visible: text.length > 0
            text: card.card.status || ""
            wrapMode: Text.WordWrap
            font: Kit.mono(10, Font.DemiBold)
            color: card.card.reading ? Kit.amber : Qt.rgba(0, 0, 0, 0.6)
        }
        Repeater {
            model: card.card.clips || []
            // The clip and its method on one line; why it was not placed below it, whole.
            delegate: ColumnLayout {
                required property var modelData
                Layout.fillWidth: true
                spacing: 2
                RowLayout {
                    Layout.fillWidth: true
                    spacing: 8
                    Text {
                        Layout.fillWidth: true
                        text: modelData.name
                        elide: Text.ElideMiddle
                        font: Kit.mono(10)
                        color: Kit.ink
                    }
                    Text {
                        text: modelData.method
                        font: Kit.mono(9, Font.Bold)
                        color: modelData.placed ? Kit.ink : Kit.recRed
                    }
                }
                Text {
                    visible: modelData.note.length > 0
                    Layout.fillWidth: true
                    text: modelData.note
                    wrapMode: Text.WordWrap
                    font: Kit.mono(9)
                    color: Kit.recRed
                }
            }
        }
        Repeater {
            model: card.card.warnings || []
            delegate: Text {
                required property var modelData
                Layout.fillWidth: true
                text: "\u25B2 " + modelData
                wrapMode: Text.WordWrap
                font: Kit.mono(9, Font.DemiBold)
                color: Kit.amber
            }
        }
    }
}
