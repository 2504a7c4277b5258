#pragma once

#include <QString>

#include <array>

namespace varemo {

// The suite's ten module programs. Every module's menu lists all of them; this one is
// number 2. The program file sits in the program folder beside this executable.
struct SiblingModule {
    int number;
    QString program; // file name in the program folder
    QString displayName; // as the menu and its tooltip name it
};

inline constexpr int ThisModule = 2;
inline constexpr int ModuleCount = 10;

inline const std::array<SiblingModule, ModuleCount>& siblingModules()
{
    static const std::array<SiblingModule, ModuleCount> modules {{
        {1, QStringLiteral("Estoque"), QStringLiteral("Cadastro de Produtos e Estoque")},
        {2, QStringLiteral("Contas"), QStringLiteral("Plano de Contas")},
        {3, QStringLiteral("Vendas"), QStringLiteral("Módulo de Vendas")},
        {4, QStringLiteral("Compras"), QStringLiteral("Módulo de Compras")},
        {5, QStringLiteral("Clientes"), QStringLiteral("Cadastro de Clientes")},
        {6, QStringLiteral("Fornecedores"), QStringLiteral("Cadastro de Fornecedores")},
        {7, QStringLiteral("Caixa"), QStringLiteral("Controle de Caixa")},
        {8, QStringLiteral("Financeiro"), QStringLiteral("Contas a Pagar e Receber")},
        {9, QStringLiteral("NotaFiscal"), QStringLiteral("Emissão de Notas Fiscais")},
        {10, QStringLiteral("Empresa"), QStringLiteral("Dados da Empresa e Configuração")},
    }};
    return modules;
}

// The module numbered 1..10, or nullptr for any other number.
inline const SiblingModule* siblingModule(int number)
{
    if (number < 1 || number > ModuleCount)
        return nullptr;
    return &siblingModules()[static_cast<std::size_t>(number - 1)];
}

} // namespace varemo
