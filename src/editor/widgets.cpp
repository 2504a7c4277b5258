#include "editor/widgets.h"

#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QWheelEvent>

namespace varemo {

StatusBar::StatusBar(QWidget* parent)
    : QStatusBar(parent)
{
    setSizeGripEnabled(true);
    for (int index = 0; index < PanelCount; ++index) {
        auto* label = new QLabel(this);
        label->setObjectName(QStringLiteral("Status_Panel%1").arg(index));
        label->setFrameShape(QFrame::StyledPanel);
        label->setFrameShadow(QFrame::Sunken);
        label->setContentsMargins(6, 0, 6, 0);
        if (index == Message) {
            label->setMinimumWidth(200);
            addWidget(label, 1);
        } else {
            label->setMinimumWidth(index == Mode ? 90 : 150);
            label->setAlignment(Qt::AlignCenter);
            addPermanentWidget(label);
        }
        m_panels[static_cast<std::size_t>(index)] = label;
    }
}

QLabel* StatusBar::panel(int index) const
{
    if (index < 0 || index >= PanelCount)
        return nullptr;
    return m_panels[static_cast<std::size_t>(index)];
}

void StatusBar::setPanel(int index, const QString& text)
{
    if (QLabel* label = panel(index))
        label->setText(text);
}

QString StatusBar::panelText(int index) const
{
    const QLabel* label = panel(index);
    return label != nullptr ? label->text() : QString();
}

Selector::Selector(QWidget* parent)
    : QComboBox(parent)
{
    setEditable(true);
    setInsertPolicy(QComboBox::NoInsert);
    setMaxVisibleItems(20);
    setMinimumContentsLength(28);
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    // Completion would replace what the user typed with a name of the list.
    setCompleter(nullptr);
    // Leaving a selector whose text names an entry of its list would count as choosing that
    // entry and cascade, emptying the levels below: only a choice made in the list does.
    disconnect(lineEdit(), &QLineEdit::editingFinished, this, nullptr);
}

void Selector::fill(const QStringList& names)
{
    const QString kept = currentText();
    const QSignalBlocker blocker(this);
    clear();
    addItems(names);
    setCurrentIndex(-1);
    setEditText(kept);
}

void Selector::clearAll()
{
    const QSignalBlocker blocker(this);
    clear();
    setEditText(QString());
}

void Selector::setText(const QString& text)
{
    const QSignalBlocker blocker(this);
    setEditText(text);
}

QStringList Selector::names() const
{
    QStringList out;
    out.reserve(count());
    for (int i = 0; i < count(); ++i)
        out << itemText(i);
    return out;
}

void Selector::setReadOnly(bool readOnly)
{
    if (QLineEdit* edit = lineEdit())
        edit->setReadOnly(readOnly);
}

bool Selector::isReadOnly() const
{
    const QLineEdit* edit = lineEdit();
    return edit != nullptr && edit->isReadOnly();
}

void Selector::showPopup()
{
    if (isReadOnly())
        return;
    QComboBox::showPopup();
}

void Selector::wheelEvent(QWheelEvent* event)
{
    // The wheel would step through the list and so change the record shown.
    if (isReadOnly()) {
        event->ignore();
        return;
    }
    QComboBox::wheelEvent(event);
}

void Selector::keyPressEvent(QKeyEvent* event)
{
    const int key = event->key();
    const bool steps
        = key == Qt::Key_Up || key == Qt::Key_Down || key == Qt::Key_PageUp || key == Qt::Key_PageDown;
    if (isReadOnly() && steps) {
        event->ignore();
        return;
    }
    QComboBox::keyPressEvent(event);
}

} // namespace varemo
