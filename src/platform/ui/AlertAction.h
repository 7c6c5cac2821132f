#pragma once

#include <QObject>
#include <QString>
#include <functional>

/// One button of an alert or action sheet: its title, style, whether it is enabled, what it does
/// and, optionally, a dismissal check that may keep the alert open.
class AlertAction final : public QObject
{
    Q_OBJECT

public:
    enum class Style {
        Default,
        Cancel,
        Destructive,
    };

    AlertAction(const QString &title, Style style, std::function<void(AlertAction *)> handler,
                QObject *parent = nullptr);
    /// An action whose press first asks `shouldDismiss`: the alert closes, and the handler runs,
    /// only when it answers true.
    static AlertAction *actionWithTitle_style_handler_shouldDismissHandler(const QString &title, Style style,
                                                                          std::function<void(AlertAction *)> handler,
                                                                          std::function<bool()> shouldDismiss,
                                                                          QObject *parent = nullptr);

    QString title() const { return m_title; }
    Style style() const { return m_style; }
    bool isEnabled() const { return m_enabled; }
    void setEnabled(bool enabled);
    /// A mark shown after the title: the chosen option of a menu ("✓"), its direction.
    QString detail() const { return m_detail; }
    void setDetail(const QString &detail) { m_detail = detail; }
    bool hasDismissalCheck() const { return bool(m_shouldDismiss); }
    /// Whether pressing the action closes the alert.
    bool shouldDismiss() const { return !m_shouldDismiss || m_shouldDismiss(); }
    void runHandler();

Q_SIGNALS:
    void enabledChanged(bool enabled);

private:
    QString m_title;
    QString m_detail;
    Style m_style;
    bool m_enabled = true;
    std::function<void(AlertAction *)> m_handler;
    std::function<bool()> m_shouldDismiss;
};
