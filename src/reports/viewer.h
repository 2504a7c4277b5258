#pragma once

#include "reports/table.h"
#include "reports/viewerpages.h"

#include <QIcon>
#include <QList>
#include <QStringList>
#include <QWidget>

#include <functional>
#include <optional>

class QAction;
class QComboBox;
class QLabel;
class QLineEdit;
class QPrinter;
class QPushButton;
class QSplitter;
class QToolBar;
class QTreeWidget;
class QTreeWidgetItem;

namespace varemo {
class Desktop;
}

namespace varemo::reports {

// The report viewer: a toolbar whose tools arrive with English captions (the window holding
// the viewer translates them), the pages, a table of contents and a find bar. It keeps the
// report it shows until another one comes or it is released.
class ReportViewer : public QWidget {
    Q_OBJECT
public:
    // `onlyTools` builds a toolbar with just these tool keys ("TOC", "Print"...); empty for all.
    explicit ReportViewer(Desktop& desktop, QWidget* parent = nullptr, const QStringList& onlyTools = {});
    ~ReportViewer() override;

    // The toolbar's tools first to last, separators left out.
    QList<QAction*> tools() const;
    // A tool by its key, whatever its caption is now; null when this toolbar lacks it.
    QAction* tool(const QString& key) const;
    void addDisplayChoice(const QString& text, int position);
    QStringList displayChoices() const;

    void setReportSource(Report report);
    void releaseReport();
    const Report* reportSource() const { return m_report ? &*m_report : nullptr; }

    int zoom() const { return m_zoom; }
    void setZoom(int percent);
    void zoomStep(int direction);
    void fitWidth();
    void fitPage();
    void setMultiple(bool multiple);
    bool multiple() const;
    void showToc(bool shown);

    int pageCount() const;
    int currentPage() const { return m_current; }
    // Shows page `page` (0-based); the page left is remembered for "Back". False when out of range.
    bool goToPage(int page, bool remember = true, qreal y = -1);
    void goBack();
    void goForward();

    // The current page's text (and picture) to the clipboard.
    void copyPage();
    void showFind();
    void hideFind();
    // Marks every text holding `text`, accents and case aside; the number of texts marked.
    int find(const QString& text);
    // The next (or previous) mark from the current page on, turning to its page; false if none.
    bool findNext(bool backwards = false);
    std::optional<Hit> currentHit() const;

    bool printReport();
    bool exportPdf();
    bool exportSheet();

    // Control handlers.
    void Exibicao_Click(int index);
    void NumeroPagina_Enter();
    void Indice_Click(QTreeWidgetItem* item);

    // The dialogs, replaced by tests. askPrinter gets the printer set up for the report and
    // says whether to print; askFileName gets a title, a suggested path and the filters and
    // gives the chosen path (empty when cancelled) and the filter picked.
    std::function<bool(QPrinter& printer)> askPrinter;
    std::function<QString(
        const QString& title, const QString& suggested, const QString& filters, QString* chosenFilter)>
        askFileName;

    QToolBar* Barra = nullptr;
    QComboBox* Exibicao = nullptr;
    QLineEdit* NumeroPagina = nullptr;
    QLabel* TotalPaginas = nullptr;
    QTreeWidget* Indice = nullptr;
    PageView* Paginas = nullptr;
    QLabel* Situacao = nullptr;
    QWidget* BarraLocalizar = nullptr;
    QLineEdit* TextoLocalizar = nullptr;
    QPushButton* BotaoAnterior = nullptr;
    QPushButton* BotaoProxima = nullptr;
    QLabel* ResultadoLocalizar = nullptr;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    enum class Fit { None, Width, Page, Two };

    void buildToolbar(const QStringList& onlyTools);
    void buildFindBar();
    void fillToc();
    void refresh();
    void updateTools();
    void showCaptions(bool shown);
    void say(const QString& text);
    void clearHits();
    QString suggestedPath(const QString& extension) const;
    QString chooseFile(
        const QString& title, const QString& suggested, const QString& filters, QString* chosenFilter);

    Desktop& m_desktop;
    std::optional<Report> m_report;
    int m_zoom = 100;
    Fit m_fit = Fit::None;
    int m_zoomBeforeMultiple = 100;
    Fit m_fitBeforeMultiple = Fit::None;
    int m_current = 0;
    std::vector<int> m_backPages;
    std::vector<int> m_forwardPages;
    std::vector<Hit> m_hits;
    int m_hitIndex = -1;
    bool m_captioned = true;
    QSplitter* m_splitter = nullptr;
};

// The tools' small pictures, drawn rather than taken from an icon theme the system may lack.
QIcon toolIcon(const QString& key);

} // namespace varemo::reports
