#pragma once

#include <QString>

class QVBoxLayout;
class TextLabel;

/// What every step of the onboarding after the first begins with: a small heading and a title,
/// which it returns, added to \p column.
TextLabel *addStepHeading(QVBoxLayout &column, const QString &heading, const QString &title);
