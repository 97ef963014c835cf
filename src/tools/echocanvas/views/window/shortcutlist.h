#ifndef MORVEK_ECHOCANVAS_SHORTCUTLIST_H
#define MORVEK_ECHOCANVAS_SHORTCUTLIST_H

class QMenuBar;
class QWidget;

namespace Morvek::Tools {

/** Names an action in the list where its own text says what it would do just now. */
constexpr const char *ListedAs = "listedAs";

/**
 * Shows a dialog with the shortcuts of all entries, menu by menu, and the keys that no menu tells.
 *
 * @thread main
 */
void showShortcutList(const QMenuBar &menus, QWidget *pParent);

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_SHORTCUTLIST_H
