#pragma once

#include <QColor>
#include <QIcon>

/// A theme icon used as a template: only its shape counts, drawn in one colour, the way bar
/// buttons and fields show their icons in the tint of their text. The theme's symbolic variant
/// ("name-symbolic") is preferred, since its shape is made to be read in one colour.
class TemplateIcon final
{
public:
    TemplateIcon() = delete;

    static QIcon named(const QString &iconName, const QColor &tint);
};
