#pragma once

#include "editor/images.h"
#include "editor/tree.h"

#include <QTreeWidgetItem>

namespace varemo {

class ChartTree;

// A chart node keeps its name, key and image in members instead of the item's list of role
// values: a big chart makes thousands of them, and each role stored the usual way costs an
// allocation and a search on every read. A node of a lazily built tree also knows its tree,
// which makes its children when asked and hears of its deletion and of its image changes.
class ChartItem : public QTreeWidgetItem {
public:
    static constexpr int ItemType = QTreeWidgetItem::UserType + 1;

    ChartItem(QString key, QString name, int level = -1, qint64 code = 0, ChartTree* owner = nullptr);
    ~ChartItem() override;
    ChartItem(const ChartItem&) = delete;
    ChartItem& operator=(const ChartItem&) = delete;

    QVariant data(int column, int role) const override;
    void setData(int column, int role, const QVariant& value) override;

    int level() const { return m_level; }
    qint64 code() const { return m_code; }
    ChartTree* owner() const { return m_owner; }
    void detach() { m_owner = nullptr; }

    // The chart node behind a tree item, or nullptr for any other item.
    static ChartItem* of(QTreeWidgetItem* item)
    {
        return item != nullptr && item->type() == ItemType ? static_cast<ChartItem*>(item) : nullptr;
    }

private:
    QString m_key;
    QString m_name;
    QString m_image;
    int m_level;
    qint64 m_code;
    ChartTree* m_owner;
};

} // namespace varemo
