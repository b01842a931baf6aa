import QtQuick
import QtQuick.Layouts
import Korvalume.Desk

// A framed note: a small title and a line of text, with an amber edge.
Rectangle {
    id: box
    property string title
    property string text
    property bool dark: false
    implicitHeight: column.implicitHeight + 24
    color: dark ? Qt.rgba(1, 1, 1, 0.04) : Qt.rgba(0.96, 0.65, 0.14, 0.08)
    border.width: 1
    border.color: dark ? Kit.darkRule : Kit.rule
    Rectangle {
        width: 3
        height: parent.height
        color: Kit.amber
    }
    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.margins: 12
        anchors.leftMargin: 16
        spacing: 6
        SectionLabel {
            text: box.title
            dark: box.dark
            color: Kit.amber
        }
        Text {
            Layout.fillWidth: true
            text: box.text
            wrapMode: Text.WordWrap
            font: Kit.mono(10)
            color: box.dark ? Kit.paper : Kit.ink
        }
    }
}
