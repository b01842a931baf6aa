import QtQuick
import QtQuick.Controls.Basic as T
import QtQuick.Layouts
import Korvalume.Desk

// Nothing open: set up a live session, or open the logs of a finished one.
Flickable {
    id: panel
    required property DeskView view
    signal openRequested
    contentHeight: column.implicitHeight + 80
    clip: true

    ColumnLayout {
        id: column
        x: 40
        y: 40
        width: panel.width - 80
        spacing: 14

        Text {
            objectName: "welcomeHeading"
            text: "Every clip,\nalready in place."
            font: Kit.mono(34, Font.Bold)
            lineHeight: 1.05
            color: Kit.ink
        }
        SectionLabel {
            text: "SESSION / NONE"
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
        Hairline {
            Layout.fillWidth: true
        }

        SectionLabel {
            text: "BEFORE YOU SHOOT"
        }
        NoticeBox {
            Layout.fillWidth: true
            title: panel.view.freeRunTitle
            text: panel.view.freeRunAdvice
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.topMargin: 10
            spacing: 28

            // On the shoot.
            ColumnLayout {
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                Layout.alignment: Qt.AlignTop
                spacing: 12
                SectionLabel {
                    text: "ON THE SHOOT"
                }
                Text {
                    text: "SET UP A SESSION"
                    font: Kit.mono(15, Font.Bold)
                    color: Kit.ink
                }
                Text {
                    Layout.fillWidth: true
                    text: "You are the session owner. Phones join by scanning a code on this screen, and every camera they add appears here live."
                    wrapMode: Text.WordWrap
                    font: Kit.mono(10)
                    lineHeight: 1.25
                    color: Qt.rgba(0, 0, 0, 0.7)
                }
                RowLayout {
                    Layout.fillWidth: true
                    spacing: 12
                    Column {
                        Layout.fillWidth: true
                        spacing: 6
                        SectionLabel {
                            text: "SESSION NAME"
                        }
                        KitField {
                            id: nameField
                            objectName: "nameField"
                            width: parent.width
                            text: panel.view.name
                            onTextEdited: panel.view.name = text
                            onAccepted: panel.view.startSession()
                        }
                    }
                    Dropdown {
                        objectName: "rateChoice"
                        Layout.preferredWidth: 130
                        label: "FRAME RATE"
                        values: panel.view.rateLabels
                        currentIndex: panel.view.rateIndex
                        box.onActivated: index => panel.view.rateIndex = index
                    }
                }
                Column {
                    Layout.fillWidth: true
                    spacing: 6
                    SectionLabel {
                        text: "YOUR NAME ON THE PHONES"
                    }
                    KitField {
                        objectName: "operatorField"
                        width: parent.width
                        text: panel.view.operatorName
                        placeholderText: panel.view.peerName
                        onEditingFinished: panel.view.operatorName = text
                    }
                }
                StyledButton {
                    objectName: "startButton"
                    text: "START SESSION"
                    filled: true
                    onClicked: panel.view.startSession()
                }
            }

            Rectangle {
                Layout.fillHeight: true
                width: 1
                color: Kit.rule
            }

            // After the shoot.
            ColumnLayout {
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                Layout.alignment: Qt.AlignTop
                spacing: 12
                SectionLabel {
                    text: "AFTER THE SHOOT"
                }
                Text {
                    text: "BUILD THE SYNC MAP"
                    font: Kit.mono(15, Font.Bold)
                    color: Kit.ink
                }
                Text {
                    Layout.fillWidth: true
                    text: "The session is finished. Open its log, point each camera at its card folder, and export for Premiere."
                    wrapMode: Text.WordWrap
                    font: Kit.mono(10)
                    lineHeight: 1.25
                    color: Qt.rgba(0, 0, 0, 0.7)
                }
                StyledButton {
                    objectName: "openButton"
                    text: "OPEN SESSION LOG"
                    onClicked: panel.openRequested()
                }
                Text {
                    text: "Or drop a log anywhere on this window."
                    font: Kit.mono(9)
                    color: Qt.rgba(0, 0, 0, 0.5)
                }
            }
        }
    }
}
