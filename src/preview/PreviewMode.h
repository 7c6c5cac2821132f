#pragma once

#include <QtGlobal>

/// What a preview shows of its item: the document itself, or the details screen.
using PreviewMode = qint64;
inline constexpr PreviewMode PreviewModePreview = 0;
inline constexpr PreviewMode PreviewModeDetails = 1;
