import QtQuick
import Korvalume.Desk

Text {
    property bool dark: false
    font: Kit.mono(9, Font.DemiBold)
    color: dark ? Qt.rgba(1, 1, 1, 0.55) : Qt.rgba(0, 0, 0, 0.5)
}
