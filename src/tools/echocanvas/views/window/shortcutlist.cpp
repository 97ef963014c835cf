#include "shortcutlist.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace Morvek::Tools {

namespace {

constexpr QSize ListSize(560, 800);

/** A submenu's title is the beginning of what its entries say: "Snapshot", "Of the layer". */
QString nameOf(const QAction &action, const QString &strSubmenu)
{
    const QVariant listedAs = action.property(ListedAs);
    QString strText = listedAs.isValid() ? listedAs.toString() : action.text();
    strText.remove(QLatin1Char('&'));
    if (strSubmenu.isEmpty() || strText.isEmpty())
        return strText;
    return strSubmenu + QLatin1Char(' ') + strText.at(0).toLower() + strText.mid(1);
}

QString rowsOf(const QMenu &menu, const QString &strSubmenu)
{
    QString strRows;
    const QList<QAction *> actions = menu.actions();
    for (const QAction *const pAction : actions) {
        const QString strName = nameOf(*pAction, strSubmenu);
        if (pAction->menu())
            strRows += rowsOf(*pAction->menu(), strName);
        else if (!pAction->shortcut().isEmpty())
            strRows +=
                QStringLiteral("<tr><td width=\"130\">%1</td><td>%2</td></tr>")
                    .arg(pAction->shortcut().toString(QKeySequence::NativeText).toHtmlEscaped(),
                         strName.toHtmlEscaped());
    }
    return strRows;
}

QString listOf(const QMenuBar &menus)
{
    QString strList;
    const QList<QAction *> actions = menus.actions();
    for (const QAction *const pAction : actions) {
        const QString strRows = pAction->menu() ? rowsOf(*pAction->menu(), QString()) : QString();
        if (!strRows.isEmpty())
            strList += QStringLiteral("<p><b>%1</b></p><table>%2</table>")
                           .arg(nameOf(*pAction, QString()).toHtmlEscaped(), strRows);
    }
    return strList;
}

QString otherKeys()
{
    return QStringLiteral(
        "<p><b>Parts of the window:</b> Alt and the part's number shows it and leads into it; from "
        "inside, it hides it.</p>"
        "<p><b>On the canvas:</b> arrow keys move the selected layer by 1 pixel, with Ctrl by 10, "
        "with Shift they resize it. Page Up and Page Down select another layer, Escape ends a drag "
        "or the selection. The menu key, or a right click, opens the layer's menu. Shift and a "
        "corner's handle keep the layer's shape. Ctrl and the wheel zoom.</p>"
        "<p><b>In a field of the layer:</b> Escape takes back what is typed.</p>"
        "<p><b>On an input:</b> Enter opens its menu.</p>"
        "<p><b>In the messages:</b> Ctrl+C copies the selected lines.</p>");
}

} // namespace

void showShortcutList(const QMenuBar &menus, QWidget *pParent)
{
    // It scrolls: on a small screen, the list is higher than that.
    auto *const pText = new QTextBrowser;
    pText->setAccessibleName(QStringLiteral("Shortcuts"));
    pText->setHtml(listOf(menus) + otherKeys());
    auto *const pDialog = new QDialog(pParent);
    pDialog->setAttribute(Qt::WA_DeleteOnClose);
    pDialog->setWindowTitle(QStringLiteral("Keyboard"));
    auto *const pButtons = new QDialogButtonBox(QDialogButtonBox::Close);
    QObject::connect(pButtons, &QDialogButtonBox::rejected, pDialog, &QDialog::reject);
    auto *const pLayout = new QVBoxLayout(pDialog);
    pLayout->addWidget(pText);
    pLayout->addWidget(pButtons);
    pDialog->resize(ListSize.boundedTo(pDialog->screen()->availableSize() * 0.8));
    pDialog->open();
}

} // namespace Morvek::Tools
