import QtQuick
import Quorvane
import QtQuick.Controls.Basic
import QtQuick.Layouts

// Today, this week and this month against the records; the next milestones; the unlocked
// ones; and the editor for records typed in by hand.
ColumnLayout {
    id: pane
    required property AchievementsModel model
    required property Navigation navigation
    readonly property color gold: Qt.rgba(0.92, 0.72, 0.16, 1)

    spacing: 10
    // Esc first leaves the record editor, dropping its drafts; then it closes the panel.
    Keys.onEscapePressed: event => {
        if (pane.model.editing)
            pane.model.discardEditing()
        else
            event.accepted = false
    }

    RowLayout {
        Layout.fillWidth: true
        BackButton { onClicked: pane.navigation.showDashboard() }
        UiText { Layout.fillWidth: true; text: "Achievements"; size: 12; font.weight: Font.DemiBold; horizontalAlignment: Text.AlignHCenter }
        Clickable {
            objectName: "editRecords"
            implicitWidth: editRow.implicitWidth + 10
            implicitHeight: 22
            hoverEnabled: true
            // A draft that would not be stored says why beside it; Save waits for it.
            enabled: !pane.model.editing || pane.model.canSave
            opacity: enabled ? 1 : 0.4
            onClicked: pane.model.toggleEditing()
            background: Rectangle { radius: 5; color: parent.hovered ? Appearance.control : "transparent" }
            contentItem: RowLayout {
                id: editRow
                spacing: 4
                Symbol { name: pane.model.editing ? "checkmark" : "pencil"; size: 10; color: Appearance.accent }
                UiText { text: pane.model.editing ? "Save" : "Edit bests"; size: 10; color: Appearance.accent }
            }
        }
    }

    // Current figures.
    RowLayout {
        visible: !pane.model.editing
        Layout.fillWidth: true
        spacing: 8
        Repeater {
            model: pane.model.current
            delegate: Rectangle {
                required property var modelData
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                implicitHeight: cell.implicitHeight + 16
                radius: 8
                color: "transparent"
                border.color: Appearance.hairline
                ColumnLayout {
                    id: cell
                    anchors.fill: parent
                    anchors.margins: 8
                    spacing: 3
                    UiText { text: modelData.title; size: 9; color: Appearance.secondary; font.letterSpacing: 0.6 }
                    UiText { text: modelData.value; size: 16; font.weight: Font.DemiBold }
                    RowLayout {
                        spacing: 3
                        Symbol { visible: modelData.isNewBest; name: "star.fill"; size: 9; color: pane.gold }
                        UiText {
                            Layout.fillWidth: true
                            text: modelData.caption
                            size: 9
                            color: modelData.isNewBest ? pane.gold : Appearance.secondary
                        }
                    }
                }
            }
        }
    }

    // Hand-entered records.
    ColumnLayout {
        visible: pane.model.editing
        Layout.fillWidth: true
        spacing: 6
        Repeater {
            model: [
                { title: "Best Day", draft: "dayDraft", picker: pane.model.dayDate },
                { title: "Best Week", draft: "weekDraft", picker: pane.model.weekDate },
                { title: "Best Month", draft: "monthDraft", picker: pane.model.monthDate }
            ]
            delegate: GridLayout {
                required property var modelData
                required property int index
                readonly property string problem: pane.model.draftProblems[index] || ""
                Layout.fillWidth: true
                columns: 4
                columnSpacing: 6
                rowSpacing: 2
                UiText { text: modelData.title; size: 11; Layout.preferredWidth: 74 }
                UiText { text: pane.model.currencySymbol; size: 12; color: Appearance.secondary }
                Field {
                    Layout.fillWidth: true
                    placeholderText: "Amount"
                    font.pixelSize: 13
                    inputMethodHints: Qt.ImhFormattedNumbersOnly
                    text: pane.model[modelData.draft]
                    onTextEdited: pane.model[modelData.draft] = text
                    background: Rectangle {
                        radius: 10
                        color: Appearance.control
                        border.color: parent.activeFocus ? Appearance.accent : parent.parent.problem.length > 0 ? Appearance.red : Appearance.hairline
                    }
                }
                DatePickerButton { picker: modelData.picker }
                UiText {
                    visible: parent.problem.length > 0
                    Layout.column: 2
                    Layout.row: 1
                    Layout.columnSpan: 2
                    Layout.fillWidth: true
                    wrapMode: Text.WordWrap
                    text: parent.problem
                    size: 9
                    color: Appearance.red
                }
            }
        }
        UiText {
            Layout.fillWidth: true
            wrapMode: Text.WordWrap
            text: "Editing only increases values — recent records won't get overwritten."
            size: 9
            color: Appearance.secondary
        }
    }

    SectionHeader { visible: pane.model.nextUp.length > 0; text: "Next up" }
    Repeater {
        model: pane.model.nextUp
        delegate: ColumnLayout {
            required property var modelData
            Layout.fillWidth: true
            spacing: 3
            RowLayout {
                Layout.fillWidth: true
                spacing: 5
                UiText { text: modelData.title; size: 12; font.weight: Font.DemiBold }
                UiText { text: modelData.period; size: 11; color: Appearance.secondary }
                Item { Layout.fillWidth: true }
                UiText { text: modelData.percent; size: 10; color: Appearance.secondary }
            }
            Rectangle {
                id: track
                Layout.fillWidth: true
                height: 6
                radius: 3
                color: Appearance.control
                Rectangle {
                    height: parent.height
                    radius: 3
                    width: Math.max(3, track.width * modelData.fraction)
                    color: Appearance.accent
                }
            }
            UiText { text: modelData.toGo; size: 9; color: Appearance.secondary }
        }
    }

    SectionHeader { text: "Unlocked" }
    UiText {
        visible: pane.model.unlocked.length === 0
        text: "No milestones yet — keep going."
        size: 11
        color: Appearance.secondary
    }
    ListView {
        visible: pane.model.unlocked.length > 0
        Layout.fillWidth: true
        Layout.preferredHeight: Math.min(contentHeight, 220)
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        model: pane.model.unlocked
        ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }
        delegate: RowLayout {
            required property var modelData
            width: ListView.view.width
            height: 26
            spacing: 8
            Symbol { name: "star.fill"; size: 12; color: pane.gold }
            UiText { Layout.fillWidth: true; text: modelData.title; size: 12 }
            UiText { text: modelData.date; size: 10; color: Appearance.secondary }
        }
    }
}
