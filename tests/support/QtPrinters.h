#pragma once

// Readable gtest failure messages for Qt types; force-included into every test.
#include <QByteArray>
#include <QString>
#include <QUuid>
#include <ostream>

inline void PrintTo(const QString &s, std::ostream *os) { *os << '"' << s.toStdString() << '"'; }
inline void PrintTo(const QByteArray &b, std::ostream *os) { *os << '"' << b.toStdString() << '"'; }
inline void PrintTo(const QUuid &u, std::ostream *os) { *os << u.toString().toStdString(); }
