import QtQuick
import Quorvane
import QtQuick.Controls.Basic
import QtQuick.Layouts

// Monthly recurring revenue: the figures, the goal, twelve months of movements and this
// month's movers by customer.
ColumnLayout {
    id: pane
    required property MrrModel model
    required property Navigation navigation
    property bool editingGoal: false

    spacing: 10
    Keys.onEscapePressed: event => {
        if (pane.editingGoal)
            pane.editingGoal = false
        else
            event.accepted = false
    }

    // "approx." after a figure that includes PayPal's estimate.
    component ApproxMark: UiText {
        visible: pane.model.approxText.length > 0
        text: pane.model.approxText
        size: 9
        color: Appearance.tertiary
        HoverHandler { id: approxHover }
        ToolTip.visible: approxHover.hovered
        ToolTip.text: pane.model.approxTooltip
        ToolTip.delay: 400
    }
    component Figure: ColumnLayout {
        id: figure
        property string name
        property string value
        property bool estimated: true
        Layout.fillWidth: true
        Layout.preferredWidth: 1
        spacing: 2
        UiText { text: figure.name; size: 9; color: Appearance.secondary }
        RowLayout {
            spacing: 3
            UiText { text: figure.value; size: 12; font.weight: Font.DemiBold }
            ApproxMark { visible: figure.estimated && pane.model.approxText.length > 0 }
        }
    }

    RowLayout {
        Layout.fillWidth: true
        BackButton { onClicked: pane.navigation.showDashboard() }
        UiText { Layout.fillWidth: true; text: "MRR"; size: 12; font.weight: Font.DemiBold; horizontalAlignment: Text.AlignHCenter }
        Clickable {
            id: exportButton
            objectName: "mrrExport"
            implicitWidth: exportRow.implicitWidth + 10
            implicitHeight: 22
            hoverEnabled: true
            enabled: pane.model.rowTotal > 0
            opacity: enabled ? 1 : 0.5
            onClicked: pane.model.exportCsv()
            background: Rectangle { radius: 5; color: exportButton.hovered ? Appearance.control : "transparent" }
            contentItem: RowLayout {
                id: exportRow
                spacing: 4
                Symbol { name: "square.and.arrow.down"; size: 10; color: Appearance.accent }
                UiText { text: "Export CSV…"; size: 10; color: Appearance.accent }
            }
        }
    }

    // Headline: MRR, then ARR and the month's net new.
    ColumnLayout {
        Layout.fillWidth: true
        spacing: 2
        RowLayout {
            spacing: 6
            UiText { text: pane.model.mrrText; size: 30; font.weight: Font.DemiBold }
            ApproxMark { Layout.alignment: Qt.AlignBottom; Layout.bottomMargin: 6; size: 10 }
            Spinner { visible: pane.model.isLoading; size: 12 }
        }
        RowLayout {
            spacing: 8
            UiText { text: pane.model.arrText; size: 11; color: Appearance.secondary }
            ApproxMark { Layout.leftMargin: -5 }
            UiText {
                text: pane.model.netNewText
                size: 11
                font.weight: Font.Medium
                color: pane.model.netNewColor.a > 0 ? pane.model.netNewColor : Appearance.secondary
            }
        }
        UiText {
            visible: pane.model.errorText.length > 0
            Layout.fillWidth: true
            text: pane.model.errorText
            wrapMode: Text.Wrap
            size: 10
            color: Appearance.red
        }
    }

    // The goal and when it is reached; the pencil edits it in place.
    RowLayout {
        Layout.fillWidth: true
        spacing: 6
        visible: !pane.editingGoal
        Symbol { name: "star.fill"; size: 11; color: Appearance.accent }
        UiText {
            Layout.fillWidth: true
            text: pane.model.goalLine
            size: 11
            font.weight: Font.Medium
            color: pane.model.hasGoal ? Appearance.primary : Appearance.secondary
        }
        IconButton {
            objectName: "editGoal"
            symbol: "pencil"
            symbolSize: 10
            tip: pane.model.hasGoal ? "Change the MRR goal" : "Set an MRR goal"
            onClicked: pane.editingGoal = true
        }
    }
    ColumnLayout {
        visible: pane.editingGoal
        Layout.fillWidth: true
        spacing: 3
        RowLayout {
            Layout.fillWidth: true
            spacing: 6
            UiText { text: "MRR goal " + pane.model.goalCurrency; size: 11 }
            Field {
                id: goalField
                objectName: "goalField"
                Layout.fillWidth: true
                placeholderText: "10000"
                inputMethodHints: Qt.ImhFormattedNumbersOnly
                text: pane.model.goalInput
                onAccepted: if (pane.model.setGoal(text)) pane.editingGoal = false
            }
            PushButton {
                text: "Save"
                prominent: true
                onClicked: if (pane.model.setGoal(goalField.text)) pane.editingGoal = false
            }
            PushButton { text: "Cancel"; onClicked: pane.editingGoal = false }
        }
        UiText {
            visible: pane.model.goalError.length > 0
            text: pane.model.goalError
            size: 10
            color: Appearance.red
        }
    }
    onEditingGoalChanged: if (editingGoal) { goalField.text = pane.model.goalInput; goalField.forceActiveFocus() }

    MrrChartView {
        Layout.fillWidth: true
        model: pane.model.chart
    }

    // The month's movements: totals that double as the chart's legend and filter the list.
    RowLayout {
        Layout.fillWidth: true
        spacing: 4
        Repeater {
            model: pane.model.kinds
            delegate: Clickable {
                id: chip
                required property int index
                required property string label
                required property bool isChecked
                objectName: "movementChip"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                implicitHeight: 38
                hoverEnabled: true
                onClicked: pane.model.kinds.choose(index)
                background: Rectangle {
                    radius: 6
                    color: chip.isChecked ? Appearance.control : chip.hovered ? Qt.darker(Appearance.window, 1.04) : "transparent"
                    border.color: Appearance.hairline
                }
                contentItem: ColumnLayout {
                    spacing: 1
                    RowLayout {
                        Layout.leftMargin: 6
                        Layout.rightMargin: 4
                        spacing: 4
                        Rectangle { width: 6; height: 6; radius: 3; color: pane.model.kindColors[chip.index] }
                        UiText {
                            Layout.fillWidth: true
                            text: chip.label
                            size: 9
                            font.weight: chip.isChecked ? Font.DemiBold : Font.Normal
                            color: chip.isChecked ? Appearance.primary : Appearance.secondary
                        }
                    }
                    UiText {
                        Layout.leftMargin: 6
                        text: pane.model.kindAmounts[chip.index] ?? ""
                        size: 11
                        font.weight: Font.DemiBold
                    }
                }
            }
        }
    }

    // The month's figures.
    RowLayout {
        Layout.fillWidth: true
        spacing: 8
        Figure { name: "ARPA"; value: pane.model.arpaText }
        Figure { name: "Customers"; value: pane.model.customersText }
        // The rates come from listed subscriptions only: PayPal's estimate has no history.
        Figure { name: "Logo churn"; value: pane.model.logoChurnText; estimated: false }
        Figure { name: "Net MRR churn"; value: pane.model.netMrrChurnText; estimated: false }
    }

    Rectangle { Layout.fillWidth: true; height: 1; color: Appearance.hairline }

    ColumnLayout {
        Layout.fillWidth: true
        spacing: 2
        UiText { text: pane.model.listTitle; size: 12; font.weight: Font.DemiBold }
        UiText {
            visible: pane.model.exportStatus.length > 0
            Layout.fillWidth: true
            text: pane.model.exportStatus
            size: 9
            color: Appearance.secondary
        }
    }
    UiText {
        visible: pane.model.rowTotal === 0
        Layout.fillWidth: true
        Layout.topMargin: 12
        Layout.bottomMargin: 12
        horizontalAlignment: Text.AlignHCenter
        text: pane.model.emptyText
        size: 12
        color: Appearance.secondary
    }
    ListView {
        objectName: "mrrMovements"
        visible: pane.model.rowTotal > 0
        Layout.fillWidth: true
        Layout.fillHeight: true
        Layout.minimumHeight: Math.min(contentHeight, 80)
        Layout.preferredHeight: Math.min(contentHeight, 240)
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        model: pane.model
        ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }
        delegate: ColumnLayout {
            id: row
            required property int index
            required property string displayName
            required property string kindText
            required property color kindColor
            required property string changeText
            required property string fromToText
            required property bool approx
            required property string letter
            required property color letterColor
            width: ListView.view.width
            spacing: 0
            RowLayout {
                Layout.fillWidth: true
                Layout.topMargin: 6
                Layout.bottomMargin: 6
                Layout.rightMargin: 8
                spacing: 10
                Rectangle {
                    implicitWidth: 24
                    implicitHeight: 24
                    radius: 6
                    color: row.letterColor
                    UiText { anchors.centerIn: parent; text: row.letter; color: "white"; size: 11; font.bold: true }
                }
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 1
                    UiText { Layout.fillWidth: true; text: row.displayName; size: 12 }
                    RowLayout {
                        spacing: 6
                        Rectangle { width: 6; height: 6; radius: 3; color: row.kindColor }
                        UiText { text: row.kindText; size: 10; color: Appearance.secondary }
                        UiText { text: row.fromToText; size: 10; color: Appearance.tertiary }
                    }
                }
                ColumnLayout {
                    spacing: 1
                    UiText { Layout.alignment: Qt.AlignRight; text: row.changeText; size: 13; font.weight: Font.DemiBold; color: row.kindColor }
                    UiText { Layout.alignment: Qt.AlignRight; visible: row.approx; text: "approx."; size: 9; color: Appearance.tertiary }
                }
            }
            Rectangle { Layout.fillWidth: true; height: 1; color: Appearance.hairline; visible: row.index < pane.model.rowTotal - 1 }
        }
    }
}
