#pragma once

#include <QDialog>
#include <QHash>
#include <QString>

#include <array>

class QLineEdit;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace varemo {

struct AppState;
class Desktop;

// "Relatório - Escolha os Itens": a personalised report's definition. The whole chart as a
// tree whose nodes carry three-state marks, the report's name, and two buttons: 0 saves,
// 1 closes. Mode 1 makes a new definition; mode 2 edits the one given. After a save the
// window stays open, now editing what it saved.
class ArvRelat : public QDialog {
    Q_OBJECT
public:
    static constexpr int NewDefinition = 1;
    static constexpr int EditDefinition = 2;

    ArvRelat(AppState& state, Desktop& desktop, int mode, qint32 reportCode = 0,
        const QString& reportName = {}, QWidget* parent = nullptr);

    QTreeWidget* Arvore = nullptr;
    QLineEdit* Nome = nullptr;
    std::array<QPushButton*, 2> BotaoEscolha {};

    void BotaoEscolha_Click(int index);
    void Arvore_NodeClick(QTreeWidgetItem* item);
    // Fills the tree from the level tables, every node unmarked.
    void ColocaDados();
    // Loads the current definition's marks into the tree.
    void ContasLer();
    // Writes the definition as one unit; false when a check or the database refused it.
    bool ContasSalvar();

    // The node of a key ("17N3", "NI"), or nullptr.
    QTreeWidgetItem* node(const QString& key) const { return m_nodes.value(key); }
    int Modo = NewDefinition;
    qint32 CodigoRelatorio = 0;
    QString NomeRelatorio;

signals:
    // A definition was written; its code.
    void saved(qint32 reportCode);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    enum class Outcome { Written, NameTaken };
    void build();
    void Form_Load();
    // The definition's rows, or NameTaken with nothing written; throws JetError.
    Outcome write(const QString& name);

    AppState& m_state;
    Desktop& m_desktop;
    QHash<QString, QTreeWidgetItem*> m_nodes;
};

} // namespace varemo
