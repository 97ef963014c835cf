#include "windowrun.h"

#include "mainwindow.h"
#include "snapshots.h"

#include <QApplication>
#include <QFileInfo>
#include <QTimer>

namespace Morvek::Tools {

QStringList runWindow(const sScene &scene, const sHostOptions &options,
                      const WindowHost::Adjustment &adjust)
{
    const QString strFile = options.m_strSceneFile.isEmpty()
                              ? QString()
                              : QFileInfo(options.m_strSceneFile).absoluteFilePath();
    QSettings settings;
    WindowHost host(scene, strFile, adjust);
    MainWindow window(host, settings,
                      options.m_strOutFolder.isEmpty() ? defaultSnapshotFolder()
                                                       : options.m_strOutFolder);
    if (!host.start())
        return {QStringLiteral("the previews could not be started")};
    window.show();
    if (options.m_hasSeconds)
        QTimer::singleShot(int(options.m_seconds * 1000), Qt::PreciseTimer, &window,
                           &QWidget::close);
    QApplication::exec();
    return host.shortcomings();
}

} // namespace Morvek::Tools
