import QtQuick
import Korvalume.Desk

// One point of rule, as wide as its container offers.
Rectangle {
    property bool dark: false
    implicitHeight: 1
    height: 1
    color: dark ? Kit.darkRule : Kit.rule
}
