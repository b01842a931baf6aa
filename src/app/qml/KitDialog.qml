import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Korvalume.Desk

// A modal alert in the kit's style: title, text, an optional field, and one or two buttons.
Dialog {
    id: dialog
    property string text
    property string acceptText: "OK"
    property string rejectText
    property bool destructive: false
    property bool showField: false
    property alias field: input.text

    modal: true
    anchors.centerIn: parent
    width: 520
    padding: 24
    closePolicy: Popup.CloseOnEscape
    onOpened: showField ? input.forceActiveFocus() : acceptButton.forceActiveFocus()

    background: Rectangle {
        color: Kit.paper
        border.width: 1
        border.color: Kit.ink
    }
    header: Text {
        text: dialog.title
        topPadding: 24
        leftPadding: 24
        rightPadding: 24
        font: Kit.mono(14, Font.Bold)
        color: Kit.ink
        wrapMode: Text.WordWrap
    }
    contentItem: ColumnLayout {
        spacing: 14
        Text {
            objectName: "dialogText"
            Layout.fillWidth: true
            text: dialog.text
            wrapMode: Text.WordWrap
            font: Kit.mono(10)
            lineHeight: 1.2
            color: Kit.ink
        }
        TextField {
            id: input
            objectName: "dialogField"
            visible: dialog.showField
            Layout.fillWidth: true
            font: Kit.mono(10)
            selectByMouse: true
            onAccepted: dialog.accept()
        }
        RowLayout {
            Layout.alignment: Qt.AlignRight
            spacing: 10
            StyledButton {
                objectName: "dialogReject"
                visible: dialog.rejectText.length > 0
                text: dialog.rejectText
                onClicked: dialog.reject()
            }
            StyledButton {
                id: acceptButton
                objectName: "dialogAccept"
                text: dialog.acceptText
                filled: true
                accent: dialog.destructive ? Kit.recRed : Kit.ink
                onClicked: dialog.accept()
            }
        }
    }
}
