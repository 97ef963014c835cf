#include "messagebanner.h"

#include "statelook.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace Morvek::Tools {

namespace {

constexpr int MaxLines = 6; // a broken file may be wrong in very many places

} // namespace

MessageBanner::MessageBanner(QWidget *pParent, const QString &strDismiss)
    : QFrame(pParent)
    , m_pText(new QLabel)
    , m_pAction(new QPushButton)
    , m_pDismiss(new QPushButton(strDismiss))
{
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    m_pText->setWordWrap(true);
    m_pText->setTextFormat(Qt::RichText);
    m_pText->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_pText->setAccessibleName(QStringLiteral("Message"));
    auto *const pLayout = new QHBoxLayout(this);
    pLayout->setContentsMargins(8, 4, 8, 4);
    pLayout->addWidget(m_pText, 1);
    pLayout->addWidget(m_pAction, 0, Qt::AlignTop);
    pLayout->addWidget(m_pDismiss, 0, Qt::AlignTop);
    connect(m_pAction, &QPushButton::clicked, this, [this] {
        hide();
        Q_EMIT accepted();
    });
    connect(m_pDismiss, &QPushButton::clicked, this, [this] {
        hide();
        Q_EMIT dismissed();
    });
    hide();
}

void MessageBanner::tell(const QString &strTitle, const QStringList &lines,
                         const QString &strAction, const QString &strSign)
{
    adaptColors();
    QStringList shown{QStringLiteral("<b>%1 %2</b>").arg(strSign, strTitle.toHtmlEscaped())};
    for (const QString &strLine : lines.mid(0, MaxLines))
        shown.append(strLine.toHtmlEscaped());
    if (lines.size() > MaxLines)
        shown.append(QStringLiteral("… and %1 more").arg(lines.size() - MaxLines));
    m_pText->setText(shown.join(QStringLiteral("<br>")));
    m_pAction->setText(strAction);
    m_pAction->setVisible(!strAction.isEmpty());
    m_pDismiss->show();
    show();
}

void MessageBanner::tellAtOnce(const QString &strTitle)
{
    tell(strTitle, {}, QString());
    m_pDismiss->hide();
    // The caller is about to block the event loop.
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents
                                    | QEventLoop::ExcludeSocketNotifiers);
    window()->repaint();
}

void MessageBanner::adaptColors()
{
    QPalette colors = parentWidget() ? parentWidget()->palette() : palette();
    colors.setColor(QPalette::Window, isDark(colors) ? QColor(84, 60, 12) : QColor(255, 238, 200));
    setPalette(colors);
}

QString MessageBanner::text() const
{
    return m_pText->text();
}

} // namespace Morvek::Tools
