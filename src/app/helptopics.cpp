#include "app/helptopics.h"

#include <algorithm>
#include <array>

namespace varemo::help {

namespace {

const std::array kTopics {
    Topic {Conteudo, "Conteúdo"},
    Topic {IndiceAssuntos, "Índice de assuntos"},
    Topic {Introducao, "O que é o Plano de Contas"},
    Topic {JanelaPrincipal, "A janela principal"},
    Topic {Arvore, "A árvore de contas"},
    Topic {Seletores, "Página Hierarquia: os seletores de nível"},
    Topic {PaginaNiveis, "Página Níveis: setores, grupos e contas"},
    Topic {Movimento, "Navegar pelos registros e o contador"},
    Topic {MoveFiltro, "Navegar pelos registros encontrados"},
    Topic {Relatos, "A lista de relatórios personalizados"},
    Topic {Comandos, "Menus e barra de ferramentas"},
    Topic {Teclado, "Teclado: Esc e F1"},
    Topic {IncluirAlterar, "Incluir e alterar registros"},
    Topic {Gravar, "Gravar e cancelar"},
    Topic {Excluir, "Excluir registros"},
    Topic {LinhasProdutos, "Linhas de produtos e insumos nas compras"},
    Topic {Mensagens, "Mensagens e problemas comuns"},
    Topic {Procura, "Localizar registros: critérios do filtro de procura"},
    Topic {RelatorioItens, "Definir um relatório personalizado"},
    Topic {RelatorioPersonalizado, "O relatório de receitas e despesas"},
    Topic {Periodo, "Escolher o período do relatório"},
    Topic {Visualiza, "Visualizar, imprimir e exportar relatórios"},
    Topic {PlanoContas, "Relatório do plano de contas"},
    Topic {Sistema, "O Sistema Varemo"},
    Topic {NovaVersao, "Como verificar se existe nova versão do módulo"},
    Topic {Sobre, "Sobre o programa"},
    Topic {Suporte, "Suporte e contato por e-mail"},
};

} // namespace

std::span<const Topic> topics()
{
    return kTopics;
}

QString topicTitle(int context)
{
    const auto found = std::find_if(
        kTopics.begin(), kTopics.end(), [context](const Topic& t) { return t.context == context; });
    return found == kTopics.end() ? QString() : QString::fromUtf8(found->title);
}

bool isShared(int context)
{
    return context >= FirstShared;
}

QString helpFileName(int context)
{
    return isShared(context) ? QStringLiteral("Sobre o Sistema.qch") : QStringLiteral("Contas.qch");
}

QString helpNamespace(int context)
{
    return isShared(context) ? QStringLiteral("br.com.varemo.sistema")
                             : QStringLiteral("br.com.varemo.contas");
}

QString virtualFolder(int context)
{
    return isShared(context) ? QStringLiteral("sistema") : QStringLiteral("contas");
}

QString pageName(int context)
{
    return context == 0 ? QStringLiteral("index.html") : QString::number(context) + QStringLiteral(".html");
}

QUrl topicUrl(int context)
{
    QUrl url;
    url.setScheme(QStringLiteral("qthelp"));
    url.setHost(helpNamespace(context));
    url.setPath(QLatin1Char('/') + virtualFolder(context) + QLatin1Char('/') + pageName(context));
    return url;
}

} // namespace varemo::help
