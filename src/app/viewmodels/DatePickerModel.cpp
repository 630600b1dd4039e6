#include "DatePickerModel.h"

using namespace Qt::StringLiterals;

static constexpr int cellCount = 42;

DatePickerModel::DatePickerModel(QLocale locale, QObject *parent)
    : QAbstractListModel(parent)
    , m_locale(std::move(locale))
{
}

int DatePickerModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() || !m_month.isValid() ? 0 : cellCount;
}

QDate DatePickerModel::cellDate(int row) const
{
    const int lead = (m_month.dayOfWeek() - static_cast<int>(m_locale.firstDayOfWeek()) + 7) % 7;
    return m_month.addDays(row - lead);
}

QVariant DatePickerModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const QDate day = cellDate(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case DayRole: return day.day();
    case InMonthRole: return day.month() == m_month.month();
    case EnabledRole: return (!m_minimum.isValid() || day >= m_minimum) && (!m_maximum.isValid() || day <= m_maximum);
    case SelectedRole: return day == m_selected;
    }
    return {};
}

QHash<int, QByteArray> DatePickerModel::roleNames() const
{
    return {{DayRole, "day"}, {InMonthRole, "inMonth"}, {EnabledRole, "selectable"}, {SelectedRole, "selected"}};
}

void DatePickerModel::setState(QDate selected, QDate minimum, QDate maximum)
{
    m_selected = selected;
    m_minimum = minimum;
    m_maximum = maximum;
    showMonth(QDate(selected.year(), selected.month(), 1));
}

void DatePickerModel::showMonth(QDate firstOfMonth)
{
    beginResetModel();
    m_month = firstOfMonth;
    endResetModel();
    Q_EMIT changed();
}

QString DatePickerModel::selectedText() const
{
    return m_selected.isValid() ? m_locale.toString(m_selected, u"MMM d, yyyy"_s) : QString();
}

QString DatePickerModel::monthTitle() const
{
    return m_month.isValid() ? m_locale.toString(m_month, u"MMMM yyyy"_s) : QString();
}

QStringList DatePickerModel::weekdayNames() const
{
    QStringList out;
    for (int i = 0; i < 7; ++i) {
        const int day = (static_cast<int>(m_locale.firstDayOfWeek()) - 1 + i) % 7 + 1;
        const QString name = m_locale.dayName(day, QLocale::NarrowFormat);
        // The C locale names the days by number, which reads like a row of dates.
        const bool letters = !name.isEmpty() && !name.front().isDigit();
        out.append(letters ? name : QLocale(QLocale::English).dayName(day, QLocale::NarrowFormat));
    }
    return out;
}

bool DatePickerModel::canGoBack() const
{
    return !m_minimum.isValid() || m_month > QDate(m_minimum.year(), m_minimum.month(), 1);
}

bool DatePickerModel::canGoForward() const
{
    return !m_maximum.isValid() || m_month < QDate(m_maximum.year(), m_maximum.month(), 1);
}

void DatePickerModel::previousMonth()
{
    if (canGoBack())
        showMonth(m_month.addMonths(-1));
}

void DatePickerModel::nextMonth()
{
    if (canGoForward())
        showMonth(m_month.addMonths(1));
}

void DatePickerModel::pick(int row)
{
    if (row < 0 || row >= cellCount || !m_month.isValid())
        return;
    const QDate day = cellDate(row);
    if ((m_minimum.isValid() && day < m_minimum) || (m_maximum.isValid() && day > m_maximum))
        return;
    m_selected = day;
    Q_EMIT dataChanged(index(0), index(cellCount - 1), {SelectedRole});
    Q_EMIT changed();
    Q_EMIT picked(day);
}
