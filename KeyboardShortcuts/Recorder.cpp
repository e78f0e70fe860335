#include "KeyboardShortcuts/Recorder.h"

namespace KeyboardShortcuts {

Recorder::Recorder(Name name, RecorderCocoa::OnChange onChange)
    : m_name(std::move(name))
    , m_onChange(std::move(onChange))
{}

Recorder::Recorder(QString label, Name name, RecorderCocoa::OnChange onChange)
    : m_name(std::move(name))
    , m_onChange(std::move(onChange))
    , m_hasLabel(true)
    , m_label(std::move(label))
{}

RecorderCocoa *Recorder::makeControl(QWidget *parent) const
{
    auto *control = new RecorderCocoa(m_name, m_onChange, parent);
    control->setAccessibleName(m_label);
    return control;
}

} // namespace KeyboardShortcuts
