import QtQuick
import QtQuick.Layouts
import Korvalume.Desk

// The running session: header, camera rows and the join panel. Redrawn ten times a
// second by LiveState, the master clock on every frame; every text comes from there.
Item {
    id: live
    required property DeskView view
    property alias state: liveState

    LiveState {
        id: liveState
        objectName: "liveState"
        model: live.view.model
        fixedNow: live.view.fixedNow
        hasFixedNow: live.view.hasFixedNow
    }

    // Phones read the clock off this screen: it is set as each frame is prepared, and each
    // frame shown asks for the next, so the screen's refresh paces the clock.
    Connections {
        target: live.Window.window
        enabled: live.visible
        function onAfterAnimating() {
            const now = liveState.clockText();
            timeOfDay.text = now;
            runningClock.text = now;
        }
        function onFrameSwapped() {
            live.Window.window.update();
        }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 40
        spacing: 16

        // Header.
        RowLayout {
            Layout.fillWidth: true
            spacing: 24
            ColumnLayout {
                spacing: 6
                Text {
                    text: liveState.title
                    font: Kit.mono(26, Font.Bold)
                    color: Kit.ink
                }
                RowLayout {
                    spacing: 14
                    Text {
                        objectName: "liveFacts"
                        text: liveState.facts
                        font: Kit.mono(10, Font.DemiBold)
                        color: Kit.ink
                    }
                    Rectangle {
                        width: 7
                        height: 7
                        radius: 3.5
                        color: liveState.clockSynced ? Kit.signalGreen : Kit.amber
                    }
                    Text {
                        objectName: "clockState"
                        text: liveState.clockState
                        font: Kit.mono(10, Font.DemiBold)
                        color: Qt.rgba(0, 0, 0, 0.6)
                    }
                }
            }
            Item {
                Layout.fillWidth: true
            }
            ColumnLayout {
                spacing: 4
                Text {
                    id: timeOfDay
                    objectName: "timeOfDay"
                    Layout.alignment: Qt.AlignRight
                    text: liveState.clockText()
                    font: Kit.monoTracked(30, Font.Bold, -1)
                    color: Kit.ink
                }
                Text {
                    objectName: "running"
                    Layout.alignment: Qt.AlignRight
                    text: liveState.running
                    font: Kit.mono(10, Font.DemiBold)
                    color: Kit.recRed
                }
            }
        }
        Hairline {
            Layout.fillWidth: true
        }
        // What the desk has to say while live: a refused log, a save that failed.
        Text {
            objectName: "liveMessage"
            Layout.fillWidth: true
            visible: text.length > 0
            text: live.view.message
            wrapMode: Text.WordWrap
            font: Kit.mono(11, Font.DemiBold)
            color: Kit.recRed
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 28

            // Cameras.
            Item {
                Layout.fillWidth: true
                Layout.fillHeight: true
                ListView {
                    id: rows
                    objectName: "cameraRows"
                    anchors.fill: parent
                    clip: true
                    spacing: 10
                    model: liveState.rows
                    delegate: Rectangle {
                        id: row
                        required property string name
                        required property string kindLink
                        required property string status
                        required property bool rolling
                        required property bool warning
                        required property string clips
                        required property string detail
                        width: rows.width
                        height: 74
                        color: "white"
                        border.width: 1
                        border.color: row.rolling ? Kit.recRed : Kit.rule
                        Rectangle {
                            width: 4
                            height: parent.height
                            color: row.rolling ? Kit.recRed
                                                     : (row.warning ? Kit.amber : Kit.rule)
                        }
                        ColumnLayout {
                            anchors.fill: parent
                            anchors.margins: 12
                            anchors.leftMargin: 18
                            spacing: 4
                            RowLayout {
                                spacing: 10
                                Text {
                                    text: row.name
                                    font: Kit.mono(13, Font.Bold)
                                    color: Kit.ink
                                }
                                Text {
                                    text: row.kindLink
                                    font: Kit.mono(9)
                                    color: Qt.rgba(0, 0, 0, 0.5)
                                }
                                Item {
                                    Layout.fillWidth: true
                                }
                                Rectangle {
                                    visible: row.rolling
                                    width: 8
                                    height: 8
                                    radius: 4
                                    color: Kit.recRed
                                }
                                Text {
                                    text: (row.warning ? "\u25B2 " : "") + row.status
                                    font: Kit.mono(11, Font.Bold)
                                    color: row.rolling ? Kit.recRed
                                                             : (row.warning ? Kit.amber : Kit.ink)
                                }
                            }
                            RowLayout {
                                spacing: 14
                                Text {
                                    text: row.clips
                                    font: Kit.mono(9, Font.DemiBold)
                                    color: Kit.ink
                                }
                                Text {
                                    text: row.detail
                                    font: Kit.mono(9)
                                    color: Qt.rgba(0, 0, 0, 0.55)
                                }
                            }
                        }
                    }
                }
                ColumnLayout {
                    visible: liveState.waitingTitle.length > 0
                    anchors.left: parent.left
                    anchors.right: parent.right
                    anchors.top: parent.top
                    anchors.topMargin: 20
                    spacing: 10
                    Text {
                        objectName: "waitingTitle"
                        text: liveState.waitingTitle
                        font: Kit.mono(15, Font.Bold)
                        color: Kit.ink
                    }
                    Text {
                        Layout.fillWidth: true
                        Layout.maximumWidth: 520
                        text: liveState.waitingText
                        wrapMode: Text.WordWrap
                        font: Kit.mono(10)
                        lineHeight: 1.3
                        color: Qt.rgba(0, 0, 0, 0.65)
                    }
                }
            }

            // Join panel.
            Rectangle {
                Layout.preferredWidth: 340
                Layout.fillHeight: true
                color: Kit.ink
                ColumnLayout {
                    anchors.fill: parent
                    anchors.margins: 22
                    spacing: 10
                    SectionLabel {
                        text: "JOIN THIS SESSION"
                        dark: true
                    }
                    Rectangle {
                        Layout.alignment: Qt.AlignHCenter
                        width: 232
                        height: 232
                        color: "white"
                        QrCodeItem {
                            objectName: "joinCode"
                            anchors.fill: parent
                            anchors.margins: 8
                            text: liveState.joinUrl
                        }
                    }
                    Text {
                        Layout.fillWidth: true
                        text: "On each phone: open Korvalume, tap SCAN SESSION CODE and point it at this screen."
                        wrapMode: Text.WordWrap
                        font: Kit.mono(9)
                        color: Qt.rgba(1, 1, 1, 0.65)
                    }
                    Hairline {
                        dark: true
                        Layout.fillWidth: true
                    }
                    SectionLabel {
                        text: "MASTER CLOCK"
                        dark: true
                    }
                    Text {
                        id: runningClock
                        objectName: "runningClock"
                        Layout.fillWidth: true
                        text: liveState.clockText()
                        font: Kit.monoTracked(28, Font.Bold, -28 / 30)
                        fontSizeMode: Text.HorizontalFit
                        minimumPointSize: 14
                        color: Kit.paper
                    }
                    Text {
                        Layout.fillWidth: true
                        text: "No signal on set? Phones tap SCAN MASTER CLOCK and point at this."
                        wrapMode: Text.WordWrap
                        font: Kit.mono(9)
                        color: Qt.rgba(1, 1, 1, 0.65)
                    }
                    Hairline {
                        dark: true
                        Layout.fillWidth: true
                    }
                    SectionLabel {
                        text: "PHONES LINKED"
                        dark: true
                    }
                    Repeater {
                        model: liveState.phones
                        delegate: Text {
                            required property string modelData
                            text: modelData
                            font: Kit.mono(10, Font.DemiBold)
                            color: Kit.signalGreen
                        }
                    }
                    Text {
                        objectName: "phonesEmpty"
                        Layout.fillWidth: true
                        visible: text.length > 0
                        text: liveState.phonesEmpty
                        wrapMode: Text.WordWrap
                        font: Kit.mono(9)
                        color: Qt.rgba(1, 1, 1, 0.65)
                    }
                    Item {
                        Layout.fillHeight: true
                    }
                    NoticeBox {
                        Layout.fillWidth: true
                        dark: true
                        title: liveState.freeRunTitle
                        text: liveState.freeRunText
                    }
                }
            }
        }
    }
}
