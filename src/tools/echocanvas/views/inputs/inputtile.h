#ifndef MORVEK_ECHOCANVAS_INPUTTILE_H
#define MORVEK_ECHOCANVAS_INPUTTILE_H

#include "inputobserver.h"

#include <QImage>
#include <QWidget>

#include <optional>

namespace Morvek::Tools {

/** One input of the wall: its picture, and below it name, state, rate and age. */
class InputTile : public QWidget
{
    Q_OBJECT

public:
    explicit InputTile(int nInput, QWidget *pParent = nullptr);

    /** Repaints only if something differs. @param nAgeMs  of the picture, where it is known */
    void setInput(const sInputStatus &status, const QImage &picture, std::optional<qint64> nAgeMs);
    QString stateText() const { return m_strState; }
    QString reasonText() const { return m_strReason; }

    QSize minimumSizeHint() const override;

Q_SIGNALS:
    void menuWanted(int nInput, const QPoint &globalPlace);

protected:
    void paintEvent(QPaintEvent *pEvent) override;
    void contextMenuEvent(QContextMenuEvent *pEvent) override;
    void keyPressEvent(QKeyEvent *pEvent) override;
    void focusInEvent(QFocusEvent *pEvent) override;
    void focusOutEvent(QFocusEvent *pEvent) override;

private:
    bool isPictureShown() const;
    QRect pictureFrame(const QRect &room) const;
    void paintPicture(QPainter &painter, const QRect &frame) const;
    int textHeight() const;

    const int m_nInput;
    eInputState m_eState = eInputState::Unknown;
    QImage m_picture;
    QString m_strState;   // word and sign
    QString m_strFigures; // rate and age, or why there are none
    QString m_strReason;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_INPUTTILE_H
