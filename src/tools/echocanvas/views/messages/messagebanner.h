#ifndef MORVEK_ECHOCANVAS_MESSAGEBANNER_H
#define MORVEK_ECHOCANVAS_MESSAGEBANNER_H

#include <QFrame>
#include <QStringList>

class QLabel;
class QPushButton;

namespace Morvek::Tools {

/** A message above the canvas that stays until it is dealt with; hidden while there is none. */
class MessageBanner : public QFrame
{
    Q_OBJECT

public:
    /** @param strDismiss  what the button says that hides it; of two banners, one has the key */
    explicit MessageBanner(QWidget *pParent = nullptr,
                           const QString &strDismiss = QStringLiteral("Dis&miss"));

    /**
     * Shows a message.
     *
     * @param strTitle   in bold
     * @param lines      the details
     * @param strAction  what a button says that emits accepted(); empty for none
     * @param strSign    one character before the title
     */
    void tell(const QString &strTitle, const QStringList &lines, const QString &strAction,
              const QString &strSign = QStringLiteral("▲"));
    /** Shows a message that nobody can dismiss, on the screen before this returns. */
    void tellAtOnce(const QString &strTitle);
    QString text() const;

Q_SIGNALS:
    void accepted();
    /** The user has read it and wants it out of the way. */
    void dismissed();

private:
    void adaptColors();

    QLabel *m_pText;
    QPushButton *m_pAction;
    QPushButton *m_pDismiss;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_MESSAGEBANNER_H
