#pragma once

#include <QMainWindow>
#include <QString>
#include <QUrl>

#include <memory>

class QHelpEngine;
class QTabWidget;
class QTemporaryDir;
class QTextBrowser;

namespace varemo {

class HelpBrowser;

// The help window: the module's guide and the suite's shared pages, with contents, index
// and full-text search beside the page. One window serves the whole run; every show()
// brings it forward on the topic asked for.
class HelpViewer : public QMainWindow {
    Q_OBJECT
public:
    explicit HelpViewer(const QString& programFolder, QWidget* parent = nullptr);
    ~HelpViewer() override;

    // Shows the topic of a context number (0: the module's contents page). False, with the
    // window left as it was, when the help file or the topic is missing.
    bool show(int context);
    using QMainWindow::show;

    // The page on view, and the engine behind the window (nullptr before the first show).
    QUrl currentUrl() const;
    QHelpEngine* engine() const { return m_engine; }
    QTextBrowser* browser() const;

private:
    bool ensureEngine();
    void registerHelpFiles();
    void buildPanels();
    void openUrl(const QUrl& url);
    void selectInContents(const QUrl& url);
    void followLink(const QUrl& url);

    QString m_programFolder;
    std::unique_ptr<QTemporaryDir> m_collectionDir;
    QHelpEngine* m_engine = nullptr;
    HelpBrowser* m_browser = nullptr;
    QTabWidget* m_panels = nullptr;
};

} // namespace varemo
