#include "editor/commands.h"

#include "app/modules.h"

namespace varemo::commands {

namespace {

QString s(const char16_t* text)
{
    return QString::fromUtf16(text);
}

struct Row {
    const char16_t* key;
    const char16_t* caption;
    const char16_t* tooltip;
    const char16_t* reportTooltip;
    const QString& menu;
    const QString& band;
    const char16_t* icon;
    const char16_t* shortcut;
    bool separatorBefore;
};

const QString None;

std::vector<Command> buildTable()
{
    // key, caption, record tooltip, report tooltip, menu, band, picture, shortcut, separator
    const Row rows[] = {
        {u"ID_Incluir", u"&Incluir", u"Incluir novo registro", u"Incluir novo relatório", GroupEdit, Band1,
            u"incluir", u"Ins", false},
        {u"ID_Alterar", u"&Alterar", u"Alterar o registro corrente", u"Editar o relatório selecionado",
            GroupEdit, Band1, u"alterar", u"Ctrl+E", false},
        {u"ID_Excluir", u"&Excluir", u"Excluir o registro corrente", u"Excluir o relatório selecionado",
            GroupEdit, Band1, u"excluir", u"Del", false},
        {u"ID_Filtrar", u"&Localizar...", u"Localizar registro(s)", u"", GroupEdit, Band1, u"localizar",
            u"Ctrl+L", true},
        {u"ID_Gravar", u"&Gravar", u"Gravar dados do registro", u"", MenuFile, Band2, u"gravar", u"Ctrl+S",
            false},
        {u"ID_Cancelar", u"&Cancelar", u"Cancelar dados inseridos", u"", MenuFile, Band2, u"cancelar", u"",
            false},
        {u"ID_Setor", u"&Setores", u"Visualiza todos os setores cadastrados", u"", MenuView, Band1, u"setor",
            u"Ctrl+1", true},
        {u"ID_Grupo", u"&Grupos", u"Visualiza todos os grupos cadastrados", u"", MenuView, Band1, u"grupo",
            u"Ctrl+2", false},
        {u"ID_Conta", u"&Contas", u"Visualiza todas as contas cadastrados", u"", MenuView, Band1, u"conta",
            u"Ctrl+3", false},
        {u"ID_Item", u"&Itens", u"Visualiza e edita todos os itens cadastrados", u"", MenuView, Band1,
            u"item", u"Ctrl+4", false},
        {u"ID_Atualizar", u"A&tualizar",
            u"Lê de novo o plano de contas, com o que outros computadores gravaram", u"", MenuView, None, u"",
            u"F5", true},
        {u"ID_Relatorios", u"&Relatórios Personalizados",
            u"Para visualizar, inserir, editar e visualizar relatórios", u"", GroupReports, Band1,
            u"relatorios", u"Ctrl+R", true},
        {u"ID_PlanoContas", u"&Plano de Contas...", u"Mostra/Imprime o plano de contas financeiro", u"",
            GroupReports, Band1, u"plano", u"Ctrl+P", false},
        {u"ID_AjudadoPrograma", u"&Ajuda do Programa", u"Fornece ajuda do programa", u"", MenuHelp, Band1,
            u"ajuda", u"", true},
        {u"ID_ConteúdoeÍndice", u"&Conteúdo e Índice", u"Ajuda - Conteúdo e Índice", u"", MenuHelp, None, u"",
            u"", false},
        {u"ID_LocalizarnaAjuda", u"&Localizar na Ajuda", u"Localizar na ajuda", u"", MenuHelp, None, u"", u"",
            false},
        {u"ID_Oqueéisto?", u"&O que é isto?\tF1", u"Ajuda local", u"", MenuHelp, None, u"", u"", false},
        {u"ID_Oqueé", u"O que é?", u"Ajuda local", u"", None, Band1, u"oquee", u"", false},
        {u"ID_Checarnova", u"Checar &nova versão", u"Como checar se existe nova versão do módulo", u"",
            MenuHelp, None, u"", u"", true},
        {u"ID_EnviarMail", u"&Enviar comentário por e-mail...",
            u"Para enviar um comentário, sugestão, critíca", u"", MenuHelp, None, u"", u"", false},
        {u"ID_SobreoPrograma", u"&Sobre o Programa...", u"Fornece dados sobre o programa", u"", MenuHelp,
            None, u"", u"", true},
        {u"ID_Sair", u"Sai&r", u"Sair do programa", u"", MenuFile, Band1, u"sair", u"Ctrl+Q", true},
    };
    std::vector<Command> table;
    for (const Row& row : rows) {
        Command command;
        command.key = s(row.key);
        command.caption = s(row.caption);
        command.tooltip = s(row.tooltip);
        command.reportTooltip = s(row.reportTooltip);
        command.menu = row.menu;
        command.band = row.band;
        command.icon = s(row.icon);
        command.shortcut = s(row.shortcut);
        command.separatorBefore = row.separatorBefore;
        table.push_back(command);
    }
    for (const SiblingModule& module : siblingModules()) {
        Command command;
        command.key = QStringLiteral("ID_Modulo%1").arg(module.number);
        command.caption = module.displayName;
        command.tooltip = ModuleTooltip + module.displayName;
        command.menu = MenuModules;
        table.push_back(command);
    }
    for (Command& command : table) {
        if (command.key == QStringLiteral("ID_Relatorios"))
            command.bandCaption = s(u"Relatórios");
        else if (command.key == QStringLiteral("ID_PlanoContas"))
            command.bandCaption = s(u"Plano");
        else if (command.key == QStringLiteral("ID_AjudadoPrograma"))
            command.bandCaption = s(u"Ajuda");
    }
    // Closes the list of modules: the newer version of this one.
    Command newVersion;
    newVersion.key = s(u"ID_Novaversão");
    newVersion.caption = s(u"&Nova versão deste módulo...");
    newVersion.tooltip = s(u"Como checar se existe nova versão do módulo");
    newVersion.menu = MenuModules;
    newVersion.separatorBefore = true;
    table.push_back(newVersion);
    return table;
}

} // namespace

const std::vector<Command>& all()
{
    static const std::vector<Command> table = buildTable();
    return table;
}

const std::vector<Menu>& menus()
{
    static const std::vector<Menu> list = {
        {MenuFile, s(u"&Arquivo"), {}},
        {GroupEdit, s(u"&Editar"), {}},
        {MenuView, s(u"E&xibir"), {}},
        {GroupReports, s(u"&Relatórios"), {}},
        {MenuHelp, s(u"Aj&uda"), {}},
        {MenuModules, s(u"&Módulos do Varemo"), MenuFile},
    };
    return list;
}

const Command* find(const QString& key)
{
    for (const Command& command : all()) {
        if (command.key == key)
            return &command;
    }
    return nullptr;
}

QString tooltipText(const QString& key, bool reportsVisible)
{
    const Command* command = find(key);
    if (command == nullptr)
        return {};
    if (reportsVisible && !command->reportTooltip.isEmpty())
        return command->reportTooltip;
    return command->tooltip;
}

bool groupsEnabled(const QString& mode)
{
    return mode == ModeView;
}

int moduleNumber(const QString& key)
{
    static const QString prefix = QStringLiteral("ID_Modulo");
    if (!key.startsWith(prefix))
        return 0;
    bool ok = false;
    const QStringView digits = QStringView(key).mid(prefix.size());
    const int number = digits.toInt(&ok);
    // "ID_Modulo03" is no key of the table: the digits must be written plainly.
    if (!ok || number < 1 || number > ModuleCount || QString::number(number) != digits)
        return 0;
    return number;
}

} // namespace varemo::commands
