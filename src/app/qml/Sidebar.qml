import QtQuick
import QtQuick.Layouts
import Korvalume.Desk

// The dark column of numbered steps, and the live controls while a session runs.
Rectangle {
    id: sidebar
    required property DeskView view
    signal saveRequested
    signal exportRequested
    color: Kit.ink

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 28
        spacing: 18

        Text {
            text: "KORVALUME"
            font: Kit.mono(13, Font.Bold)
            color: Kit.paper
        }
        Text {
            text: "DESK"
            font: Kit.mono(9, Font.DemiBold)
            color: Qt.rgba(1, 1, 1, 0.5)
            Layout.topMargin: -14
        }
        Hairline {
            dark: true
            Layout.fillWidth: true
        }

        Repeater {
            model: sidebar.view.steps
            delegate: ColumnLayout {
                required property var modelData
                Layout.fillWidth: true
                spacing: 6
                Text {
                    text: modelData.title
                    font: Kit.mono(10, Font.Bold)
                    color: Kit.paper
                }
                Text {
                    Layout.fillWidth: true
                    text: modelData.line
                    wrapMode: Text.WordWrap
                    font: Kit.mono(10)
                    lineHeight: 1.25
                    color: Qt.rgba(1, 1, 1, 0.62)
                }
            }
        }

        // Live steps.
        ColumnLayout {
            visible: sidebar.view.panel === DeskView.Live
            Layout.fillWidth: true
            spacing: 12
            Text {
                text: sidebar.view.liveTitle
                font: Kit.mono(10, Font.Bold)
                color: Kit.recRed
            }
            Text {
                Layout.fillWidth: true
                text: sidebar.view.liveIntro
                wrapMode: Text.WordWrap
                font: Kit.mono(10)
                lineHeight: 1.25
                color: Qt.rgba(1, 1, 1, 0.62)
            }
            StyledButton {
                objectName: "markButton"
                Layout.fillWidth: true
                text: sidebar.view.markButton
                dark: true
                filled: true
                size: 13
                onClicked: sidebar.view.mark()
            }
            Text {
                Layout.fillWidth: true
                text: sidebar.view.markLine
                wrapMode: Text.WordWrap
                font: Kit.mono(9)
                color: Qt.rgba(1, 1, 1, 0.5)
            }
            Text {
                Layout.fillWidth: true
                Layout.topMargin: 8
                text: sidebar.view.liveAfter
                wrapMode: Text.WordWrap
                font: Kit.mono(10)
                lineHeight: 1.25
                color: Qt.rgba(1, 1, 1, 0.62)
            }
        }

        Item {
            Layout.fillHeight: true
        }

        // Edit actions.
        ColumnLayout {
            visible: sidebar.view.panel === DeskView.Session
            Layout.fillWidth: true
            spacing: 10
            StyledButton {
                objectName: "exportButton"
                Layout.fillWidth: true
                text: "EXPORT SYNC MAP"
                dark: true
                filled: true
                enabled: sidebar.view.canExport
                onClicked: sidebar.exportRequested()
            }
            StyledButton {
                objectName: "saveButton"
                Layout.fillWidth: true
                text: "SAVE SESSION LOG"
                dark: true
                onClicked: sidebar.saveRequested()
            }
            StyledButton {
                objectName: "closeButton"
                Layout.fillWidth: true
                text: "CLOSE SESSION"
                dark: true
                accent: Qt.rgba(1, 1, 1, 0.6)
                onClicked: sidebar.view.closeSession()
            }
        }
        StyledButton {
            objectName: "endButton"
            visible: sidebar.view.panel === DeskView.Live
            Layout.fillWidth: true
            text: sidebar.view.endButton
            size: 10
            dark: true
            accent: Kit.recRed
            onClicked: sidebar.view.confirmEnd = true
        }
    }
}
