import QtQuick
import QtQuick.Controls.Basic as T
import Korvalume.Desk

// A labelled choice over a list of texts; `currentIndex` is the selection.
Column {
    id: dropdown
    property string label
    property var values: []
    property alias currentIndex: box.currentIndex
    property bool dark: false
    property alias box: box
    spacing: 6

    SectionLabel {
        text: dropdown.label
        dark: dropdown.dark
    }
    T.ComboBox {
        id: box
        width: dropdown.width
        model: dropdown.values
        focusPolicy: Qt.StrongFocus
        font: Kit.mono(11, Font.DemiBold)
        contentItem: Text {
            leftPadding: 10
            text: box.displayText
            font: box.font
            color: dropdown.dark ? Kit.paper : Kit.ink
            verticalAlignment: Text.AlignVCenter
        }
        indicator: Text {
            x: box.width - width - 10
            y: (box.height - height) / 2
            text: "\u25BE"
            font: Kit.mono(11)
            color: dropdown.dark ? Kit.paper : Kit.ink
        }
        background: Rectangle {
            implicitHeight: 30
            implicitWidth: 120
            color: "transparent"
            border.width: box.visualFocus ? 2 : 1
            border.color: box.visualFocus ? Kit.recRed : (dropdown.dark ? Kit.darkRule : Kit.rule)
        }
    }
}
