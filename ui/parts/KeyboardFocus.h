#pragma once

class QWidget;

/// To be called before \p leaving is hidden or disabled: where it or anything in it has the
/// keyboard focus, that goes to what encloses it, the nearest widget that takes a focus, or the
/// window. By itself the toolkit would give it to the next control, which would then get the keys
/// meant for this one. Returns who has got it; null where nothing had to be done. Main thread.
QWidget *yieldFocus(const QWidget &leaving);

/// Like QWidget::setVisible(), after yieldFocus() where it is hidden.
void setShown(QWidget &control, bool isShown);
