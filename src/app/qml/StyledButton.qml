import QtQuick
import QtQuick.Controls.Basic as T
import Korvalume.Desk

// The desk's button: a mono caption in a hairline frame, or filled for the main action.
T.Button {
    id: control
    property bool filled: false
    property bool dark: false
    property real size: 11
    property color accent: dark ? Kit.paper : Kit.ink

    focusPolicy: Qt.StrongFocus
    padding: 0
    leftPadding: size * 1.3
    rightPadding: size * 1.3
    topPadding: size * 0.75
    bottomPadding: size * 0.75
    opacity: enabled ? 1 : 0.35
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: Text {
        text: control.text
        font: Kit.mono(control.size, Font.DemiBold)
        color: control.filled ? (control.dark ? Kit.ink : Kit.paper) : control.accent
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        implicitHeight: control.size * 2.6
        color: control.filled ? control.accent
                              : (control.down ? Qt.rgba(0.5, 0.5, 0.5, 0.15) : "transparent")
        border.width: 1
        border.color: control.accent
        Rectangle {
            anchors.fill: parent
            anchors.margins: -3
            color: "transparent"
            border.width: 1
            border.color: control.dark ? Kit.signalGreen : Kit.recRed
            visible: control.visualFocus
        }
    }
}
