#pragma once

#include <QIcon>

class QWidget;

namespace folvane::drawn_icons {

// Icons drawn in the widget's text colour, for desktops whose icon theme has
// none of the names asked for first (a bare X session has no theme at all).
QIcon microphone(const QWidget& widget);
QIcon viewfinder(const QWidget& widget);

}  // namespace folvane::drawn_icons
