#pragma once

#include <QAbstractListModel>
#include <QDate>
#include <QLocale>
#include <QtQml/qqmlregistration.h>

// A month grid for picking one day between two bounds: six weeks of cells starting on the
// locale's first weekday, the shown month's title, and the selected day's text.
class DatePickerModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by its pane")
    Q_PROPERTY(QString selectedText READ selectedText NOTIFY changed)
    Q_PROPERTY(QString monthTitle READ monthTitle NOTIFY changed)
    Q_PROPERTY(QStringList weekdayNames READ weekdayNames CONSTANT)
    Q_PROPERTY(bool canGoBack READ canGoBack NOTIFY changed)
    Q_PROPERTY(bool canGoForward READ canGoForward NOTIFY changed)

public:
    enum Role { DayRole = Qt::UserRole + 1, InMonthRole, EnabledRole, SelectedRole };

    explicit DatePickerModel(QLocale locale = {}, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Moves the shown month to the selected day's month.
    void setState(QDate selected, QDate minimum, QDate maximum);
    QDate selected() const { return m_selected; }
    QDate cellDate(int row) const;

    QString selectedText() const;
    QString monthTitle() const;
    QStringList weekdayNames() const;
    bool canGoBack() const;
    bool canGoForward() const;

    Q_INVOKABLE void previousMonth();
    Q_INVOKABLE void nextMonth();
    // Picks the cell's day when it lies within the bounds.
    Q_INVOKABLE void pick(int row);

Q_SIGNALS:
    void changed();
    void picked(QDate date);

private:
    void showMonth(QDate firstOfMonth);
    QLocale m_locale;
    QDate m_selected;
    QDate m_minimum;
    QDate m_maximum;
    QDate m_month; // first day of the shown month
};
