#ifndef MORVEK_TESTS_STOREMODEL_H
#define MORVEK_TESTS_STOREMODEL_H

#include <layervideomanager.h>

#include <QString>

#include <optional>
#include <vector>

namespace Morvek::Tests {

using EchoVideo::sLayerUniqueIdentifies;
using EchoVideo::sLayerVideoConfig;

/** What a manager's store should hold, told as plainly as possible. Its time is milliseconds. */
class StoreModel
{
public:
    struct sPreview
    {
        sLayerUniqueIdentifies m_key;
        QImage m_picture;
    };

    void set(sLayerVideoConfig record);
    const sLayerVideoConfig *find(const sLayerUniqueIdentifies &key) const;
    void remove(const sLayerUniqueIdentifies &key);
    void clear();
    void clearScreen(quint8 nScreen, int nScreenType);
    /** The layer that is handed out at this time. */
    std::optional<sLayerVideoConfig> take(int nFps, bool hasInputSignal, const QDateTime &now);
    void deliver(const sLayerUniqueIdentifies &key, const QImage &picture, const QDateTime &now);
    const QImage *preview(const sLayerUniqueIdentifies &key) const;

    /** Empty if the manager holds the same, else the first difference. */
    QString differenceFrom(const EchoVideo::LayerVideoManager &manager) const;

private:
    sLayerVideoConfig *record(const sLayerUniqueIdentifies &key);
    void removePreview(const sLayerUniqueIdentifies &key);

    std::vector<sLayerVideoConfig> m_records;
    std::vector<sPreview> m_previews;
};

/** Empty if two records are the same in every field that the test sets, else what differs. */
QString difference(const sLayerVideoConfig &left, const sLayerVideoConfig &right);

/** A picture's identity: copies share it, and an empty picture has none. */
inline qint64 identity(const QImage &picture)
{
    return picture.cacheKey();
}

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_STOREMODEL_H
