#pragma once

#include "KeyboardShortcuts/RecorderCocoa.h"

namespace KeyboardShortcuts {

/// A form's row with a recorder: what to label it with and how to make its control. A value.
class Recorder final
{
public:
    explicit Recorder(Name name, RecorderCocoa::OnChange onChange = {});
    Recorder(QString label, Name name, RecorderCocoa::OnChange onChange = {});

    [[nodiscard]] bool hasLabel() const { return m_hasLabel; }
    [[nodiscard]] const QString &label() const { return m_label; }

    /// For the first showing of the row. The parent owns the control; assistive tools know it by
    /// the label.
    [[nodiscard]] RecorderCocoa *makeControl(QWidget *parent) const;

private:
    Name m_name;
    RecorderCocoa::OnChange m_onChange;
    bool m_hasLabel = false;
    QString m_label;
};

} // namespace KeyboardShortcuts
