#include "app/typedtext.h"

#include "data/dialect.h"

namespace varemo::typed {

bool hasControl(QStringView text)
{
    for (const QChar c : text) {
        if (c.category() == QChar::Other_Control)
            return true;
    }
    return false;
}

std::optional<QString> nameProblem(const QString& name)
{
    if (hasControl(name))
        return ControlPrompt;
    if (name.size() > MaxName)
        return LongPrompt;
    return std::nullopt;
}

bool sameName(const QVariant& stored, const QString& typed)
{
    return !stored.isNull() && dialect::compareText(stored.toString(), typed) == 0;
}

} // namespace varemo::typed
