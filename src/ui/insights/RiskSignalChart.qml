import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Strataloom.Style

// The six relative risk signals as horizontal bars on a 0 to 100 axis; each bar's tooltip says
// what 100 means for it.
Item {
    id: root

    property var riskSignals: []
    readonly property int labelWidth: Math.min(150, width * 0.36)

    Layout.fillWidth: true
    implicitHeight: column.implicitHeight

    ColumnLayout {
        id: column
        anchors.left: parent.left
        anchors.right: parent.right
        spacing: 6

        RowLayout {
            Layout.fillWidth: true
            spacing: 0
            // The category axis title, turned along the axis.
            Item {
                Layout.preferredWidth: 18
                Layout.fillHeight: true
                Label {
                    anchors.centerIn: parent
                    rotation: -90
                    text: "Signal"
                    font.pixelSize: 11
                    color: Theme.secondaryText
                }
            }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 6
                Repeater {
                    model: root.riskSignals
                    delegate: Item {
                        id: signalRow
                        objectName: "riskSignal"
                        required property var modelData
                        readonly property string name: modelData.name
                        readonly property string threshold: modelData.threshold
                        readonly property real value: modelData.value
                        readonly property color tint: InsightColors.named(modelData.color)
                        readonly property string tooltipText: track.ToolTip.text
                        Layout.fillWidth: true
                        implicitHeight: 20
                        Label {
                            width: root.labelWidth
                            anchors.verticalCenter: parent.verticalCenter
                            text: signalRow.name
                            horizontalAlignment: Text.AlignRight
                            elide: Text.ElideRight
                            font.pixelSize: 12
                            color: Theme.text
                        }
                        Item {
                            id: track
                            x: root.labelWidth + 8
                            width: parent.width - x
                            height: parent.height
                            Rectangle {
                                anchors.fill: parent
                                radius: 4
                                color: InsightColors.grid
                            }
                            Rectangle {
                                width: Math.max(signalRow.value > 0 ? 3 : 0,
                                                track.width * Math.min(signalRow.value, 100) / 100)
                                height: parent.height
                                radius: 4
                                color: signalRow.tint
                            }
                            Label {
                                anchors.verticalCenter: parent.verticalCenter
                                x: Math.min(track.width * signalRow.value / 100 + 6,
                                            track.width - width - 4)
                                text: Math.round(signalRow.value)
                                font.pixelSize: 11
                                font.weight: Font.DemiBold
                                color: signalRow.value > 85 ? "white" : Theme.text
                            }
                            HoverHandler { id: barHover }
                            ToolTip.text: signalRow.threshold
                            ToolTip.visible: barHover.hovered
                            ToolTip.delay: 300
                        }
                    }
                }
                // The value axis: ticks every 25 under the bars.
                Item {
                    Layout.fillWidth: true
                    Layout.leftMargin: root.labelWidth + 8
                    Layout.preferredHeight: 16
                    Repeater {
                        model: [0, 25, 50, 75, 100]
                        delegate: Label {
                            required property int modelData
                            x: parent.width * modelData / 100 - width / 2
                            text: modelData
                            font.pixelSize: 10
                            color: Theme.secondaryText
                        }
                    }
                }
                Label {
                    Layout.fillWidth: true
                    Layout.leftMargin: root.labelWidth + 8
                    horizontalAlignment: Text.AlignHCenter
                    text: "Relative signal"
                    font.pixelSize: 11
                    color: Theme.secondaryText
                }
            }
        }
        Label {
            Layout.fillWidth: true
            Layout.topMargin: 4
            text: "Each bar uses the explicit threshold shown in its tooltip; this is not a health score."
            wrapMode: Text.WordWrap
            font.pixelSize: 11
            font.italic: true
            color: Theme.secondaryText
        }
    }
}
