import QtQuick
import QtQuick.Templates as T
import Korvalume.Desk

// A one-line text field in the kit's style.
T.TextField {
    id: field
    implicitWidth: Math.max(implicitBackgroundWidth, contentWidth + leftPadding + rightPadding)
    implicitHeight: Math.max(implicitBackgroundHeight, contentHeight + topPadding + bottomPadding)
    font: Kit.mono(12, Font.DemiBold)
    color: Kit.ink
    placeholderTextColor: Qt.rgba(0, 0, 0, 0.35)
    leftPadding: 10
    rightPadding: 10
    verticalAlignment: TextInput.AlignVCenter
    selectByMouse: true
    background: Rectangle {
        implicitHeight: 30
        color: "white"
        border.width: field.activeFocus ? 2 : 1
        border.color: field.activeFocus ? Kit.ink : Kit.rule
    }
    Text {
        anchors.fill: parent
        leftPadding: field.leftPadding
        verticalAlignment: Text.AlignVCenter
        visible: field.text.length === 0 && !field.activeFocus
        text: field.placeholderText
        font: field.font
        color: field.placeholderTextColor
    }
}
