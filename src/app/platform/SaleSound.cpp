#include "SaleSound.h"

#include <QAudioOutput>
#include <QFileInfo>
#include <QMediaPlayer>
#include <QUrl>

using namespace Qt::StringLiterals;

MediaSaleSound::MediaSaleSound(QString soundsFolder, QStringList dataDirs, QObject *parent)
    : QObject(parent)
    , m_soundsFolder(std::move(soundsFolder))
    , m_dataDirs(std::move(dataDirs))
{
}

QStringList MediaSaleSound::candidates(const QString &soundsFolder, const QStringList &dataDirs)
{
    QStringList files;
    for (const char *extension : {"aiff", "wav", "mp3", "caf", "m4a"}) {
        const QFileInfo file(soundsFolder + u"/sale."_s + QLatin1StringView(extension));
        if (file.isFile() && file.isReadable())
            files.append(file.absoluteFilePath());
    }
    // The freedesktop theme's message sound stands in for the system's own sale sound.
    for (const QString &dir : dataDirs) {
        const QFileInfo theme(dir + u"/sounds/freedesktop/stereo/message.oga"_s);
        if (theme.isFile()) {
            files.append(theme.absoluteFilePath());
            break;
        }
    }
    return files;
}

void MediaSaleSound::play()
{
    playFrom(candidates(m_soundsFolder, m_dataDirs));
}

void MediaSaleSound::playFrom(QStringList files)
{
    // One player at a time: a sound still playing is not started again on top of itself.
    if (files.isEmpty() || m_player)
        return;
    auto *player = new QMediaPlayer(this);
    m_player = player;
    player->setAudioOutput(new QAudioOutput(player));
    connect(player, &QMediaPlayer::mediaStatusChanged, player, [player](QMediaPlayer::MediaStatus status) {
        if (status == QMediaPlayer::EndOfMedia)
            player->deleteLater();
    });
    connect(player, &QMediaPlayer::errorOccurred, this, [this, player, rest = files.mid(1)] {
        player->deleteLater();
        m_player = nullptr;
        playFrom(rest); // this file did not load: the next one
    });
    player->setSource(QUrl::fromLocalFile(files.first()));
    player->play();
}
