#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <memory>

class QMediaPlayer;

// The short sound of a sale. Behind an interface so that tests and picture runs never open
// an audio device.
class SaleSound
{
public:
    virtual ~SaleSound() = default;
    virtual void play() = 0;
    // The file to hand to a notification server that plays sounds itself; empty: none.
    virtual QString file() const { return {}; }
};

// Plays through Qt Multimedia the user's own "sale.{aiff,wav,mp3,caf,m4a}" from the data
// folder's "sounds", in that order, else the desktop's message sound from the freedesktop
// sound theme. A file that exists but does not load is skipped; with none, nothing plays.
class MediaSaleSound final : public QObject, public SaleSound
{
    Q_OBJECT
public:
    // `soundsFolder`: the data folder's "sounds"; `dataDirs`: where sound themes live.
    MediaSaleSound(QString soundsFolder, QStringList dataDirs, QObject *parent = nullptr);

    void play() override;
    QString file() const override { return candidates(m_soundsFolder, m_dataDirs).value(0); }

    // The files to try, best first: the custom sale sounds that exist, then the theme's.
    static QStringList candidates(const QString &soundsFolder, const QStringList &dataDirs);

private:
    void playFrom(QStringList files);

    QString m_soundsFolder;
    QStringList m_dataDirs;
    QPointer<QMediaPlayer> m_player; // the sound playing, if any
};
