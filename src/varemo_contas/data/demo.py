"""A demo installation: program folder, data folder and a populated company database.

The company is a bakery with a year of sales and purchases, shaped as Part 1.1 describes:
categories "Receitas" (code 1) and "Despesas", the four special groups whose accounts are
product lines and whose items are products, ordinary sectors, and two saved reports
(Part 4.3). `insert_chart` is shared with the benchmark generator (bench/generate.py).
"""

from __future__ import annotations

import calendar
import datetime
import os
import random
import shutil
import sqlite3
from collections.abc import Iterable, Sequence
from dataclasses import dataclass, field
from pathlib import Path

import varemo_contas
from varemo_contas.data import schema

COMPANY = "Padaria e Confeitaria Pão Dourado Ltda"
RECEITAS = 1
DESPESAS = 2
CATEGORIES = ((RECEITAS, "Receitas"), (DESPESAS, "Despesas"))

# Part 1.1 "Special sectors and groups": (sector, group, raw-material lines?, Travado).
SPECIAL_GROUPS: tuple[tuple[str, str, bool, bool | None], ...] = (
    ("Receitas Clientes", "Vendas Produtos", False, True),
    ("Receitas Clientes", "Vendas Insumos", True, False),
    ("Despesas Fornecedores", "Fornecedores Produtos", False, True),
    ("Despesas Fornecedores", "Fornecedores Insumos", True, True),
)

# Product lines: (NomeLinha, Insumo, [(NomeProduto, price in reais)]). For goods the price is
# the shelf price; for raw materials it is the purchase price of one unit as bought.
LINHAS: tuple[tuple[str, bool, tuple[tuple[str, float], ...]], ...] = (
    (
        "Pães",
        False,
        (
            ("Pão francês", 0.90),
            ("Pão de forma tradicional", 9.90),
            ("Pão de forma integral", 11.90),
            ("Baguete", 7.50),
            ("Pão italiano", 14.00),
            ("Pão de queijo", 2.50),
            ("Pão doce", 3.50),
            ("Pão sírio", 8.90),
            ("Ciabatta", 6.00),
            ("Pão australiano", 12.90),
            ("Pão de milho", 8.50),
            ("Bisnaguinha", 7.90),
            ("Pão de leite", 1.20),
            ("Pão de hambúrguer", 1.50),
        ),
    ),
    (
        "Bolos e Tortas",
        False,
        (
            ("Bolo de chocolate", 38.00),
            ("Bolo de cenoura com cobertura", 32.00),
            ("Bolo de fubá", 22.00),
            ("Bolo de laranja", 24.00),
            ("Bolo de milho", 26.00),
            ("Bolo formigueiro", 25.00),
            ("Bolo de coco", 30.00),
            ("Bolo red velvet", 55.00),
            ("Torta de morango", 65.00),
            ("Torta holandesa", 72.00),
            ("Bolo de aniversário (kg)", 89.90),
            ("Fatia de bolo", 9.50),
        ),
    ),
    (
        "Doces",
        False,
        (
            ("Brigadeiro", 3.50),
            ("Beijinho", 3.50),
            ("Sonho de creme", 6.50),
            ("Carolina de chocolate", 4.00),
            ("Pudim de leite", 12.00),
            ("Quindim", 7.00),
            ("Bomba de chocolate", 8.50),
            ("Cocada", 5.00),
            ("Pé de moleque", 4.50),
            ("Mil-folhas", 11.00),
            ("Pão de mel", 5.50),
        ),
    ),
    (
        "Salgados",
        False,
        (
            ("Coxinha de frango", 7.00),
            ("Esfiha de carne", 6.50),
            ("Empada de frango", 7.50),
            ("Pastel assado de queijo", 7.00),
            ("Quiche de alho-poró", 12.00),
            ("Enroladinho de salsicha", 6.00),
            ("Quibe", 6.50),
            ("Croissant de presunto e queijo", 11.00),
            ("Risole de carne", 6.50),
            ("Misto quente", 12.00),
            ("Pão de batata recheado", 7.50),
        ),
    ),
    (
        "Bebidas",
        False,
        (
            ("Café expresso", 6.00),
            ("Café com leite", 7.00),
            ("Cappuccino", 9.50),
            ("Chocolate quente", 10.00),
            ("Suco de laranja natural", 9.00),
            ("Refrigerante lata 350 ml", 6.00),
            ("Água mineral 500 ml", 3.50),
            ("Suco de uva integral 1 L", 16.00),
            ("Chá gelado 450 ml", 7.50),
        ),
    ),
    (
        "Frios e Laticínios",
        False,
        (
            ("Queijo muçarela (kg)", 54.90),
            ("Queijo prato (kg)", 59.90),
            ("Presunto cozido (kg)", 42.90),
            ("Mortadela (kg)", 29.90),
            ("Peito de peru (kg)", 79.90),
            ("Queijo minas frescal (kg)", 49.90),
            ("Manteiga com sal 200 g", 14.90),
            ("Requeijão cremoso 200 g", 9.90),
            ("Iogurte natural 170 g", 4.50),
            ("Leite integral 1 L", 5.49),
        ),
    ),
    (
        "Mercearia",
        False,
        (
            ("Café torrado e moído 500 g", 24.90),
            ("Leite condensado 395 g", 7.90),
            ("Creme de leite 200 g", 4.20),
            ("Achocolatado em pó 400 g", 11.50),
            ("Geleia de morango 320 g", 18.90),
            ("Biscoito de polvilho", 6.50),
            ("Torrada integral", 8.90),
            ("Granola 500 g", 21.00),
            ("Ovos brancos (dúzia)", 13.50),
        ),
    ),
    (
        "Produtos Sazonais",
        False,
        (
            ("Panetone de frutas 500 g", 39.90),
            ("Chocotone 500 g", 44.90),
            ("Colomba pascal", 49.90),
            ("Ovo de Páscoa artesanal", 69.90),
            ("Rosca de Reis", 35.00),
        ),
    ),
    # Part 2.7 edge case: a line without products (in Linhas, absent from the inner join).
    ("Sorvetes", False, ()),
    (
        "Farinhas",
        True,
        (
            ("Farinha de trigo especial 50 kg", 189.00),
            ("Farinha de trigo integral 25 kg", 142.00),
            ("Farinha de centeio 5 kg", 48.00),
            ("Fubá mimoso 5 kg", 19.50),
            ("Polvilho doce 1 kg", 9.80),
            ("Polvilho azedo 1 kg", 11.20),
            ("Amido de milho 1 kg", 12.40),
            ("Farinha de rosca 5 kg", 38.00),
        ),
    ),
    (
        "Açúcares",
        True,
        (
            ("Açúcar refinado 50 kg", 235.00),
            ("Açúcar cristal 50 kg", 210.00),
            ("Açúcar de confeiteiro 1 kg", 9.90),
            ("Açúcar mascavo 1 kg", 14.50),
            ("Glucose de milho 5 kg", 62.00),
            ("Chocolate em pó 50% 1 kg", 42.00),
            ("Cacau em pó 100% 1 kg", 68.00),
            ("Chocolate meio amargo 2,1 kg", 129.00),
            ("Coco ralado 1 kg", 36.00),
        ),
    ),
    (
        "Gorduras e Óleos",
        True,
        (
            ("Margarina 80% 15 kg", 168.00),
            ("Gordura vegetal 15 kg", 189.00),
            ("Óleo de soja 900 ml", 7.80),
            ("Manteiga sem sal 5 kg", 215.00),
            ("Desmoldante spray 600 ml", 29.90),
        ),
    ),
    (
        "Fermentos",
        True,
        (
            ("Fermento biológico fresco 500 g", 9.50),
            ("Fermento biológico seco 500 g", 24.00),
            ("Fermento químico 1 kg", 18.00),
            ("Melhorador de farinha 5 kg", 85.00),
            ("Sal refinado 25 kg", 32.00),
        ),
    ),
    (
        "Embalagens",
        True,
        (
            ("Saco de papel kraft (milheiro)", 89.00),
            ("Saco plástico para pão de forma (milheiro)", 120.00),
            ("Caixa para bolo 30x30", 3.20),
            ("Bandeja de papelão dourada", 1.10),
            ("Filme PVC 28 cm x 300 m", 39.00),
            ("Copo descartável 200 ml (cento)", 6.50),
            ("Guardanapo de papel (pacote)", 4.90),
            ("Forminha para doces nº 5 (milheiro)", 22.00),
        ),
    ),
)

# Ordinary accounts: (Conta, frequency, base amount in reais, [Items]). Frequencies of the
# demo's movements: "M" monthly, "S" about weekly, "E" a few times a year, "A" once a year,
# "V" on some sales documents, "-" never moved (items without movements).
Conta = tuple[str, str, float, tuple[str, ...]]
Grupo = tuple[str, bool | None, tuple[Conta, ...]]
Setor = tuple[int, str, bool | None, tuple[Grupo, ...]]

SETORES: tuple[Setor, ...] = (
    (
        RECEITAS,
        "Receitas Clientes",
        True,
        (
            (
                "Serviços",
                None,
                (
                    ("Encomendas", "V", 15.00, ("Taxa de entrega", "Personalização de bolo")),
                    (
                        "Eventos",
                        "E",
                        850.00,
                        (
                            "Coffee break empresarial",
                            "Buffet de festa infantil",
                            "Café da manhã corporativo",
                        ),
                    ),
                ),
            ),
        ),
    ),
    (
        RECEITAS,
        "Receitas Financeiras",
        False,
        (
            (
                "Aplicações",
                None,
                (
                    (
                        "Rendimentos",
                        "M",
                        180.00,
                        ("Rendimentos de aplicação", "Rendimento da poupança"),
                    ),
                    (
                        "Juros recebidos",
                        "E",
                        45.00,
                        ("Juros recebidos de clientes", "Juros sobre saldo em conta"),
                    ),
                ),
            ),
            (
                "Descontos",
                False,
                (
                    (
                        "Descontos obtidos",
                        "E",
                        60.00,
                        ("Descontos de fornecedores", "Bonificações recebidas"),
                    ),
                ),
            ),
        ),
    ),
    (
        RECEITAS,
        "Outras Receitas",
        None,
        (
            (
                "Receitas Eventuais",
                None,
                (
                    ("Aluguéis recebidos", "M", 650.00, ("Aluguel do espaço de eventos",)),
                    (
                        "Venda de ativos",
                        "A",
                        1800.00,
                        ("Venda de equipamento usado", "Venda de sucata"),
                    ),
                    ("Reembolsos", "E", 220.00, ("Reembolso de seguro", "Estorno de tarifas")),
                ),
            ),
            (
                "Comissões",
                None,
                (
                    (
                        "Comissões recebidas",
                        "M",
                        120.00,
                        ("Comissão de recarga de celular", "Comissão de correspondente bancário"),
                    ),
                ),
            ),
        ),
    ),
    (
        DESPESAS,
        "Despesas Fornecedores",
        True,
        (
            (
                "Fretes",
                False,
                (
                    (
                        "Fretes sobre compras",
                        "S",
                        85.00,
                        ("Frete de farinha", "Frete de bebidas", "Frete de frios"),
                    ),
                ),
            ),
        ),
    ),
    (
        DESPESAS,
        "Despesas Administrativas",
        None,
        (
            (
                "Ocupação",
                None,
                (
                    ("Aluguel", "M", 6500.00, ("Aluguel da loja", "Aluguel do depósito")),
                    ("Condomínio", "M", 480.00, ("Taxa de condomínio", "Fundo de reserva")),
                    ("Seguros", "A", 2400.00, ("Seguro do imóvel", "Seguro de equipamentos")),
                    (
                        "Segurança",
                        "M",
                        189.00,
                        ("Monitoramento de alarme", "Câmeras de vigilância"),
                    ),
                ),
            ),
            (
                "Utilidades",
                True,
                (
                    (
                        "Energia elétrica",
                        "M",
                        3200.00,
                        ("Conta de luz da loja", "Conta de luz da produção"),
                    ),
                    ("Água e esgoto", "M", 540.00, ("Conta de água",)),
                    (
                        "Telefone e internet",
                        "M",
                        160.00,
                        (
                            "Telefone fixo",
                            "Internet banda larga",
                            "Celular corporativo",
                            "Chip da máquina de cartão",
                        ),
                    ),
                ),
            ),
            (
                "Serviços de Terceiros",
                None,
                (
                    ("Contador", "M", 1250.00, ("Honorários contábeis",)),
                    (
                        "Consultorias",
                        "E",
                        600.00,
                        (
                            "Assessoria jurídica",
                            "Consultoria em vigilância sanitária",
                            "Nutricionista responsável técnica",
                        ),
                    ),
                    (
                        "Informática",
                        "M",
                        210.00,
                        ("Sistema de gestão (mensalidade)", "Suporte técnico"),
                    ),
                    ("Certificação", "A", 290.00, ("Certificado digital",)),
                    (
                        "Controle de pragas",
                        "E",
                        380.00,
                        ("Dedetização", "Limpeza da caixa de água"),
                    ),
                ),
            ),
            (
                "Material de Escritório",
                False,
                (
                    (
                        "Papelaria",
                        "E",
                        95.00,
                        (
                            "Papel A4",
                            "Bobina para impressora fiscal",
                            "Canetas e blocos",
                            "Cartuchos de impressora",
                        ),
                    ),
                    (
                        "Correios e cartório",
                        "E",
                        48.00,
                        ("Despesas com cartório", "Correios", "Autenticações"),
                    ),
                ),
            ),
        ),
    ),
    (
        DESPESAS,
        "Despesas com Pessoal",
        False,
        (
            (
                "Remuneração",
                None,
                (
                    (
                        "Salários",
                        "M",
                        2100.00,
                        (
                            "Salário do padeiro",
                            "Salário do confeiteiro",
                            "Salário do auxiliar de padaria",
                            "Salário das balconistas",
                            "Salário do caixa",
                            "Salário do auxiliar de limpeza",
                        ),
                    ),
                    ("Pró-labore", "M", 5000.00, ("Pró-labore dos sócios",)),
                    (
                        "13º salário",
                        "A",
                        9800.00,
                        ("13º salário - 1ª parcela", "13º salário - 2ª parcela"),
                    ),
                    ("Férias", "E", 2800.00, ("Férias", "1/3 constitucional de férias")),
                    (
                        "Horas extras",
                        "M",
                        420.00,
                        ("Horas extras 50%", "Adicional noturno", "Domingos e feriados"),
                    ),
                ),
            ),
            (
                "Encargos Sociais",
                True,
                (
                    ("INSS", "M", 1850.00, ("INSS sobre folha", "INSS sobre pró-labore")),
                    ("FGTS", "M", 1120.00, ("FGTS mensal",)),
                    (
                        "Rescisões",
                        "E",
                        1900.00,
                        ("Aviso prévio", "Multa de 40% do FGTS", "Férias indenizadas"),
                    ),
                    (
                        "Contribuição sindical",
                        "A",
                        350.00,
                        ("Contribuição sindical patronal", "Contribuição assistencial"),
                    ),
                ),
            ),
            (
                "Benefícios",
                None,
                (
                    ("Vale-transporte", "M", 980.00, ("Vale-transporte",)),
                    ("Alimentação", "M", 1500.00, ("Vale-refeição", "Cesta básica")),
                    ("Saúde", "M", 1300.00, ("Plano de saúde", "Plano odontológico")),
                    (
                        "Uniformes e EPI",
                        "E",
                        420.00,
                        (
                            "Uniformes e aventais",
                            "Toucas e luvas descartáveis",
                            "Calçados de segurança",
                        ),
                    ),
                    (
                        "Exames médicos",
                        "E",
                        90.00,
                        ("Exame admissional", "Exame periódico", "Exame demissional"),
                    ),
                ),
            ),
        ),
    ),
    (
        DESPESAS,
        "Despesas Operacionais",
        None,
        (
            (
                "Produção",
                None,
                (
                    ("Gás GLP", "S", 480.00, ("Botijão P45", "Botijão P13")),
                    (
                        "Manutenção de equipamentos",
                        "E",
                        650.00,
                        (
                            "Manutenção do forno",
                            "Manutenção da masseira",
                            "Manutenção da câmara fria",
                            "Manutenção do cilindro",
                            "Manutenção da batedeira",
                        ),
                    ),
                    (
                        "Utensílios",
                        "E",
                        180.00,
                        ("Formas e assadeiras", "Utensílios de confeitaria", "Facas e espátulas"),
                    ),
                ),
            ),
            (
                "Materiais de Consumo",
                False,
                (
                    (
                        "Embalagens",
                        "E",
                        260.00,
                        ("Embalagens personalizadas", "Fitas e etiquetas", "Sacolas plásticas"),
                    ),
                    (
                        "Material de limpeza",
                        "S",
                        140.00,
                        (
                            "Detergente",
                            "Desinfetante",
                            "Papel toalha",
                            "Sacos de lixo",
                            "Álcool 70%",
                        ),
                    ),
                    (
                        "Descartáveis",
                        "E",
                        120.00,
                        ("Mexedores", "Canudos de papel", "Tampas para copo"),
                    ),
                ),
            ),
            (
                "Veículos e Entregas",
                None,
                (
                    ("Combustível", "S", 220.00, ("Gasolina", "Óleo diesel")),
                    (
                        "Manutenção de veículos",
                        "E",
                        750.00,
                        ("Revisão da Fiorino", "Pneus", "Licenciamento e IPVA"),
                    ),
                    (
                        "Entregas",
                        "S",
                        160.00,
                        ("Motoboy", "Comissão de aplicativo de entrega"),
                    ),
                ),
            ),
            (
                "Marketing",
                False,
                (
                    (
                        "Publicidade",
                        "E",
                        350.00,
                        (
                            "Panfletos",
                            "Anúncios em redes sociais",
                            "Faixas e cartazes",
                            "Fachada e letreiro",
                        ),
                    ),
                    ("Promoções", "E", 200.00, ("Brindes", "Degustação")),
                ),
            ),
        ),
    ),
    (
        DESPESAS,
        "Impostos e Taxas",
        True,
        (
            (
                "Tributos Federais",
                True,
                (
                    ("Simples Nacional", "M", 4800.00, ("DAS - Simples Nacional",)),
                    (
                        "Outros tributos federais",
                        "E",
                        130.00,
                        ("IRRF sobre serviços", "Multas e juros de mora"),
                    ),
                ),
            ),
            (
                "Tributos Municipais",
                None,
                (
                    ("IPTU", "M", 310.00, ("IPTU - parcela mensal",)),
                    (
                        "Alvará",
                        "A",
                        780.00,
                        ("Alvará de funcionamento", "Taxa de licença sanitária"),
                    ),
                    (
                        "Taxas municipais",
                        "A",
                        420.00,
                        ("Taxa de coleta de lixo", "Taxa de publicidade"),
                    ),
                ),
            ),
            (
                "Tributos Estaduais",
                False,
                (
                    (
                        "ICMS",
                        "M",
                        380.00,
                        ("ICMS substituição tributária", "Diferencial de alíquota"),
                    ),
                    (
                        "Taxas estaduais",
                        "A",
                        260.00,
                        ("Taxa do Corpo de Bombeiros", "Licenciamento do veículo"),
                    ),
                ),
            ),
        ),
    ),
    (
        DESPESAS,
        "Despesas Financeiras",
        None,
        (
            (
                "Encargos Bancários",
                None,
                (
                    (
                        "Tarifas bancárias",
                        "M",
                        69.00,
                        (
                            "Tarifa de manutenção de conta",
                            "Tarifa de boletos",
                            "Tarifa de TED e PIX",
                        ),
                    ),
                    (
                        "Taxas de cartão",
                        "M",
                        1650.00,
                        (
                            "Taxa de cartão de débito",
                            "Taxa de cartão de crédito",
                            "Aluguel da maquininha",
                            "Antecipação de recebíveis",
                        ),
                    ),
                    (
                        "Juros pagos",
                        "E",
                        95.00,
                        (
                            "Juros de cheque especial",
                            "Juros de capital de giro",
                            "Multas por atraso",
                        ),
                    ),
                    ("IOF", "M", 18.00, ("IOF",)),
                ),
            ),
            (
                "Empréstimos",
                False,
                (
                    (
                        "Financiamentos",
                        "M",
                        1890.00,
                        ("Parcela do financiamento do forno", "Parcela de capital de giro"),
                    ),
                ),
            ),
            (
                "Perdas",
                None,
                (("Perdas e quebras", "-", 0.0, ("Produtos vencidos", "Cheques devolvidos")),),
            ),
        ),
    ),
    (
        DESPESAS,
        "Investimentos",
        False,
        (
            (
                "Imobilizado",
                None,
                (
                    (
                        "Máquinas e equipamentos",
                        "A",
                        8500.00,
                        ("Forno turbo", "Batedeira planetária", "Vitrine refrigerada"),
                    ),
                    ("Móveis e utensílios", "A", 2200.00, ("Mesas e cadeiras", "Prateleiras")),
                ),
            ),
        ),
    ),
)

# Saved reports (Part 4.3), each a list of fully chosen nodes given by their name path.
REPORTS: tuple[tuple[str, tuple[tuple[str, ...], ...]], ...] = (
    ("Resultado Mensal", (("Receitas",), ("Despesas",))),
    (
        "Despesas Fixas",
        (
            ("Despesas", "Despesas Administrativas", "Ocupação", "Aluguel"),
            ("Despesas", "Despesas Administrativas", "Ocupação", "Condomínio"),
            ("Despesas", "Despesas Administrativas", "Utilidades"),
            ("Despesas", "Despesas Administrativas", "Serviços de Terceiros", "Contador"),
            ("Despesas", "Despesas com Pessoal", "Remuneração", "Salários"),
            ("Despesas", "Despesas com Pessoal", "Encargos Sociais", "INSS"),
            ("Despesas", "Despesas com Pessoal", "Encargos Sociais", "FGTS"),
            ("Despesas", "Despesas com Pessoal", "Benefícios", "Vale-transporte"),
            ("Despesas", "Impostos e Taxas", "Tributos Federais", "Simples Nacional"),
            # Only some items of an account: the account and its ancestors become "Alguns".
            (
                "Despesas",
                "Despesas Financeiras",
                "Encargos Bancários",
                "Tarifas bancárias",
                "Tarifa de manutenção de conta",
            ),
            (
                "Despesas",
                "Despesas Financeiras",
                "Encargos Bancários",
                "Tarifas bancárias",
                "Tarifa de boletos",
            ),
        ),
    ),
)

# Lines resold as bought (purchased weekly) and how often raw materials are bought (days).
_RESALE_LINES = ("Bebidas", "Frios e Laticínios", "Mercearia", "Produtos Sazonais")
_RAW_EVERY = {"Farinhas": 4, "Açúcares": 7, "Gorduras e Óleos": 7, "Fermentos": 3, "Embalagens": 14}
# Sales are booked as cash-register closings, one per shift, listing the products sold in
# it; this is the chance that a product of the line appears in one closing.
_SHIFT_CHANCE = {
    "Pães": 0.3,
    "Bolos e Tortas": 0.12,
    "Doces": 0.15,
    "Salgados": 0.2,
    "Bebidas": 0.25,
    "Frios e Laticínios": 0.15,
    "Mercearia": 0.08,
    "Produtos Sazonais": 0.2,
}
_SEASON = {
    "Panetone de frutas 500 g": (11, 12, 1),
    "Chocotone 500 g": (11, 12, 1),
    "Colomba pascal": (3, 4),
    "Ovo de Páscoa artesanal": (3, 4),
    "Rosca de Reis": (12, 1),
}
# Customer orders (encomendas) for parties: cakes, sweets and savouries by the hundred.
_ORDER_LINES = ("Bolos e Tortas", "Doces", "Salgados")


_LEVEL_COLUMNS = (
    "Codigo, Nome",
    "Codigo, Nome, CodigoCategoria0, Travado",
    "Codigo, Nome, CodigoCategoria1, Travado",
    "Codigo, Nome, CodigoCategoria2",
    "Codigo, Nome, CodigoCategoria3, CodigoProduto, Marca",
)


@dataclass(frozen=True)
class Product:
    """A row of `Produtos` with its line."""

    codigo: int
    linha: int
    insumo: bool
    nome: str
    nome_linha: str


@dataclass(frozen=True)
class Item:
    """An ordinary level-4 row (not under a special group) with the codes a line needs."""

    codigo: int
    setor: int
    categoria: int
    path: tuple[str, ...]


@dataclass
class Chart:
    """What `insert_chart` wrote: products, ordinary items and every node by name path."""

    products: list[Product] = field(default_factory=list)
    items: list[Item] = field(default_factory=list)
    nodes: dict[tuple[str, ...], tuple[int, int]] = field(default_factory=dict)
    item_count: int = 0


def insert_chart(
    connection: sqlite3.Connection,
    linhas: Sequence[tuple[str, bool, Sequence[str]]],
    setores: Sequence[tuple[int, str, bool | None, Sequence[tuple[str, bool | None, Sequence]]]],
    unlinked_every: int = 7,
) -> Chart:
    """Insert categories, lines, products and the chart; contas are (name, items) pairs.

    Under the four special groups the accounts are the lines of the group's kind and the items
    their products (Part 1.1); every `unlinked_every`-th product item keeps CodigoProduto 0, as if
    typed in this module (Part 2.7), the others are tied to their product.
    """
    chart = Chart()
    chart.nodes.update({(name,): (0, code) for code, name in CATEGORIES})
    connection.executemany("INSERT INTO NivelCategoria0 (Codigo, Nome) VALUES (?, ?)", CATEGORIES)
    rows_linhas, rows_produtos = [], []
    by_kind: dict[bool, list[tuple[str, list[Product]]]] = {False: [], True: []}
    for line_code, (line_name, insumo, names) in enumerate(linhas, start=1):
        rows_linhas.append((line_code, line_name, int(insumo)))
        products = []
        for name in names:
            product = Product(len(rows_produtos) + 1, line_code, insumo, name, line_name)
            rows_produtos.append((product.codigo, line_code, name))
            products.append(product)
        chart.products.extend(products)
        by_kind[insumo].append((line_name, products))
    connection.executemany(
        "INSERT INTO Linhas (CodigoLinha, NomeLinha, Insumo) VALUES (?, ?, ?)", rows_linhas
    )
    connection.executemany(
        "INSERT INTO Produtos (CodigoProduto, CodigoLinha, NomeProduto) VALUES (?, ?, ?)",
        rows_produtos,
    )

    levels: list[list[tuple]] = [[], [], [], [], []]

    def add(level: int, path: tuple[str, ...], *values: object) -> int:
        if path in chart.nodes:
            raise ValueError(f"nome repetido sob o mesmo pai: {' > '.join(path)}")
        code = len(levels[level]) + 1
        parent = chart.nodes[path[:-1]][1]
        levels[level].append((code, path[-1], parent, *values))
        chart.nodes[path] = (level, code)
        return code

    special = {(sector, group): (insumo, lock) for sector, group, insumo, lock in SPECIAL_GROUPS}
    for categoria, sector, sector_lock, groups in setores:
        sector_path = (dict(CATEGORIES)[categoria], sector)
        sector_code = add(1, sector_path, _bool(sector_lock))
        for (s, group), (insumo, lock) in special.items():
            if s != sector:
                continue
            group_path = (*sector_path, group)
            add(2, group_path, _bool(lock))
            for line_name, products in by_kind[insumo]:
                conta_path = (*group_path, line_name)
                add(3, conta_path)
                for index, product in enumerate(products):
                    linked = (index + 1) % unlinked_every != 0 if unlinked_every else True
                    add(4, (*conta_path, product.nome), product.codigo if linked else 0, 0)
        for group, lock, contas in groups:
            group_path = (*sector_path, group)
            add(2, group_path, _bool(lock))
            for conta, item_names in contas:
                conta_path = (*group_path, conta)
                add(3, conta_path)
                for name in item_names:
                    path = (*conta_path, name)
                    code = add(4, path, 0, 0)
                    chart.items.append(Item(code, sector_code, categoria, path))
    for level, columns in enumerate(_LEVEL_COLUMNS[1:], start=1):
        marks = ", ".join("?" * len(columns.split(", ")))
        connection.executemany(
            f"INSERT INTO NivelCategoria{level} ({columns}) VALUES ({marks})", levels[level]
        )
    chart.item_count = len(levels[4])
    return chart


def _bool(value: bool | None) -> int | None:
    # Travado may be Null (Part 1.1: Null counts as not locked); keep the three states apart.
    return None if value is None else int(value)


def report_rows(chart: Chart, chosen: Iterable[tuple[str, ...]]) -> list[tuple[str, int, int]]:
    """`RelatorioItens` rows (Nivel, CodigoConta, Imagem) for fully chosen nodes, in tree order.

    Part 4.3: a chosen node and its whole subtree are "Todos" (3); a parent is "Todos" when all
    its children are, "Alguns" (2) when some are; "Nenhum" nodes and the root "NI" are not stored.
    """
    chosen = set(chosen)
    unknown = chosen - chart.nodes.keys()
    if unknown:
        raise KeyError(f"nós inexistentes: {sorted(unknown)}")
    children: dict[tuple[str, ...], list[tuple[str, ...]]] = {}
    for path in chart.nodes:
        children.setdefault(path[:-1], []).append(path)

    states: dict[tuple[str, ...], int] = {}

    def state(path: tuple[str, ...], inherited: bool) -> int:
        full = inherited or path in chosen
        kids = [state(child, full) for child in children.get(path, [])]
        if full or (kids and all(kid == 3 for kid in kids)):
            value = 3
        elif any(kids):
            value = 2
        else:
            value = 0
        states[path] = value
        return value

    for top in children.get((), []):
        state(top, False)
    rows = []
    stack = list(reversed(children.get((), [])))
    while stack:
        path = stack.pop()
        if states[path]:
            level, code = chart.nodes[path]
            rows.append((f"N{level}", code, states[path]))
            stack.extend(reversed(children.get(path, [])))
    return rows


def insert_reports(
    connection: sqlite3.Connection,
    chart: Chart,
    reports: Sequence[tuple[str, Iterable[tuple[str, ...]]]],
) -> None:
    """Save report definitions in `Relatorios` and `RelatorioItens` (Part 4.3)."""
    for code, (name, chosen) in enumerate(reports, start=1):
        connection.execute(
            "INSERT INTO Relatorios (CodigoRelatorio, NomeRelatorio) VALUES (?, ?)", (code, name)
        )
        connection.executemany(
            "INSERT INTO RelatorioItens (CodigoRelatorio, Nivel, CodigoConta, Imagem) "
            "VALUES (?, ?, ?, ?)",
            [(code, *row) for row in report_rows(chart, chosen)],
        )


# --- movements ----------------------------------------------------------------------

# A document line: (CodigoProduto, CodigoSetor, Produto, PrecoUnit, QdeComprada); Part 1.1
# gives both meanings of CodigoProduto/CodigoSetor, told apart by Produto.
Line = tuple[int, int, int, float, float]


def _product_line(product: Product, price: float, quantity: float) -> Line:
    return (product.codigo, product.linha, 1, round(price, 2), quantity)


def _item_line(item: Item, price: float, quantity: float = 1) -> Line:
    return (item.codigo, item.setor, 0, round(price, 2), quantity)


def _daily_units(rng: random.Random, product: Product, price: float) -> float:
    """Units (or kilograms) of a product sold in a whole day, by its price."""
    if "(kg)" in product.nome:
        return rng.uniform(1.5, 8.0)
    for ceiling, low, high in ((1, 700, 1200), (2, 80, 220), (5, 30, 90), (10, 12, 45)):
        if price < ceiling:
            return rng.uniform(low, high)
    return rng.uniform(4, 16) if price < 20 else rng.uniform(1.5, 6)


def _order_quantity(rng: random.Random, product: Product, price: float) -> float:
    if "(kg)" in product.nome:
        return round(rng.uniform(1.5, 6.0), 1)
    if price < 10:
        return rng.choice((25, 50, 50, 100, 100, 150, 200))
    return rng.randint(1, 3)


def _purchase_quantity(rng: random.Random, product: Product, cost: float) -> float:
    if "(kg)" in product.nome:
        return rng.randint(2, 10)
    if cost > 100:
        return rng.randint(2, 10)
    if cost > 20:
        return rng.randint(2, 12)
    return rng.randint(6, 48)


def _ordinary_documents(
    items: Sequence[Item],
    days: Sequence[datetime.date],
    rng: random.Random,
) -> tuple[list[tuple[datetime.date, list[Line]]], list[Item]]:
    """Documents for ordinary items by their account's frequency; returns also the "V" items."""
    info = {
        (sector, group, conta): (freq, base)
        for _, sector, _, groups in SETORES
        for group, _, contas in groups
        for conta, freq, base, _ in contas
    }
    by_conta: dict[tuple[str, ...], list[Item]] = {}
    for item in items:
        by_conta.setdefault(item.path[:4], []).append(item)
    factor = {item.codigo: rng.uniform(0.6, 1.4) for item in items}
    first, last = days[0], days[-1]
    months = sorted({(day.year, day.month) for day in days})
    documents: list[tuple[datetime.date, list[Line]]] = []
    on_sales: list[Item] = []
    for conta_path, conta_items in by_conta.items():
        freq, base = info[conta_path[1:4]]

        def amount(item: Item, spread: float, base: float = base) -> float:
            return base * factor[item.codigo] * rng.uniform(1 - spread, 1 + spread)

        if freq == "M":
            due = rng.randint(1, 28)
            for year, month in months:
                day = datetime.date(year, month, min(due, calendar.monthrange(year, month)[1]))
                if first <= day <= last:
                    lines = [_item_line(item, amount(item, 0.05)) for item in conta_items]
                    documents.append((day, lines))
        elif freq == "S":
            index = rng.randrange(7)
            while index < len(days):
                item = rng.choice(conta_items)
                quantity = rng.randint(1, 3)
                documents.append((days[index], [_item_line(item, amount(item, 0.1), quantity)]))
                index += rng.randint(6, 10)
        elif freq == "E":
            for _ in range(rng.randint(2, 6)):
                item = rng.choice(conta_items)
                documents.append((rng.choice(days), [_item_line(item, amount(item, 0.3))]))
        elif freq == "A":
            lines = [_item_line(item, amount(item, 0.1)) for item in conta_items]
            documents.append((rng.choice(days), lines))
        elif freq == "V":
            on_sales.extend(conta_items)
    return documents, on_sales


def demo_movements(
    chart: Chart, end: datetime.date, seed: int = 2024
) -> tuple[list[tuple[datetime.date, int, list[Line]]], list[tuple[datetime.date, list[Line]]]]:
    """A year of sales (date, Venda flag, lines) and purchases (date, lines) up to `end`."""
    rng = random.Random(seed)
    days = [end - datetime.timedelta(days=364 - index) for index in range(365)]
    prices = {(line, name): price for line, _, products in LINHAS for name, price in products}
    price = {p.codigo: prices.get((p.nome_linha, p.nome), 10.0) for p in chart.products}
    by_line: dict[str, list[Product]] = {}
    for product in chart.products:
        by_line.setdefault(product.nome_linha, []).append(product)
    goods = [p for p in chart.products if not p.insumo and p.nome_linha in _SHIFT_CHANCE]
    orders = [p for p in goods if p.nome_linha in _ORDER_LINES]
    raw = [p for p in chart.products if p.insumo]
    income = [item for item in chart.items if item.categoria == RECEITAS]
    expense = [item for item in chart.items if item.categoria != RECEITAS]

    income_docs, on_sales = _ordinary_documents(income, days, rng)
    sales: list[tuple[datetime.date, int, list[Line]]] = [(d, 1, ls) for d, ls in income_docs]
    for index, day in enumerate(days):
        # Prices creep up over the year.
        inflation = 1 + 0.06 * index / len(days)
        shifts = 2 if day.weekday() == 6 else 3
        for _ in range(shifts):
            lines = []
            for product in goods:
                season = _SEASON.get(product.nome)
                if season is not None and day.month not in season:
                    continue
                # The best seller is in every closing; the others by their line's chance.
                if (
                    product.nome != "Pão francês"
                    and rng.random() > _SHIFT_CHANCE[product.nome_linha]
                ):
                    continue
                unit = price[product.codigo] * inflation
                units = _daily_units(rng, product, unit) / 2.5
                quantity = round(units, 3) if "(kg)" in product.nome else max(1, round(units))
                lines.append(_product_line(product, unit, quantity))
            sales.append((day, 1, lines))
        for _ in range(rng.choice((0, 1, 1, 1, 2, 2, 3))):
            # Part 1.1: a quote not concluded is a Venda row with Venda = False.
            flag = 0 if rng.random() < 0.3 else 1
            lines = []
            for product in rng.sample(orders, rng.randint(1, 4)):
                unit = price[product.codigo] * inflation
                if rng.random() < 0.2:
                    unit *= 0.9
                lines.append(_product_line(product, unit, _order_quantity(rng, product, unit)))
            if on_sales and rng.random() < 0.5:
                item = rng.choice(on_sales)
                lines.append(_item_line(item, rng.choice((10.0, 15.0, 20.0, 25.0, 40.0))))
            if raw and rng.random() < 0.03:
                product = rng.choice(raw)
                unit = price[product.codigo] * 1.25 * inflation
                lines.append(_product_line(product, unit, rng.randint(1, 3)))
            sales.append((day, flag, lines))

    purchases, _ = _ordinary_documents(expense, days, rng)
    for line, every in [(line, 7) for line in _RESALE_LINES] + list(_RAW_EVERY.items()):
        products = by_line.get(line, [])
        if not products:
            continue
        index = rng.randrange(every)
        while index < len(days):
            day = days[index]
            index += every
            if line == "Produtos Sazonais" and day.month not in (3, 4, 10, 11, 12):
                continue
            inflation = 1 + 0.06 * (index - every) / len(days)
            lines = []
            count = rng.randint(3, 7) if line in _RESALE_LINES else rng.randint(1, 4)
            for product in rng.sample(products, min(count, len(products))):
                cost = price[product.codigo] * inflation * rng.uniform(0.97, 1.03)
                if not product.insumo:
                    cost *= 0.55
                lines.append(_product_line(product, cost, _purchase_quantity(rng, product, cost)))
            purchases.append((day, lines))
    sales.sort(key=lambda document: document[0])
    purchases.sort(key=lambda document: document[0])
    return sales, purchases


def insert_movements(
    connection: sqlite3.Connection,
    sales: Iterable[tuple[datetime.date, int, Sequence[Line]]],
    purchases: Iterable[tuple[datetime.date, Sequence[Line]]],
) -> None:
    """Write documents and their lines, numbering documents in the given order."""
    venda, venda_linhas, compra, compra_linhas = [], [], [], []
    for code, (day, flag, lines) in enumerate(sales, start=1):
        venda.append((code, day.isoformat(), flag))
        venda_linhas.extend((code, *line) for line in lines)
    for code, (day, lines) in enumerate(purchases, start=1):
        compra.append((code, day.isoformat()))
        compra_linhas.extend((code, *line) for line in lines)
    connection.executemany(
        "INSERT INTO Venda (Codigo, DataDocumento, Venda) VALUES (?, ?, ?)", venda
    )
    connection.executemany("INSERT INTO Compra (Codigo, DataDocumento) VALUES (?, ?)", compra)
    for table, rows in (("VendaProdutos", venda_linhas), ("CompraProdutos", compra_linhas)):
        connection.executemany(
            f"INSERT INTO {table} (Codigo, CodigoProduto, CodigoSetor, Produto, PrecoUnit, "
            "QdeComprada) VALUES (?, ?, ?, ?, ?, ?)",
            rows,
        )


# --- the installation ----------------------------------------------------------------


def _cnpj(base: str) -> str:
    digits = [int(c) for c in base]
    for weights in ((5, 4, 3, 2, 9, 8, 7, 6, 5, 4, 3, 2), (6, 5, 4, 3, 2, 9, 8, 7, 6, 5, 4, 3, 2)):
        rest = sum(d * w for d, w in zip(digits, weights, strict=True)) % 11
        digits.append(0 if rest < 2 else 11 - rest)
    text = "".join(map(str, digits))
    return f"{text[:2]}.{text[2:5]}.{text[5:8]}/{text[8:12]}-{text[12:]}"


CNPJ = _cnpj("345678910001")


def populate(connection: sqlite3.Connection, end: datetime.date) -> Chart:
    """Write the whole demo company into an empty schema (the caller owns the transaction)."""
    connection.execute(
        "INSERT INTO DadosEmpresa (Nome, Morto, InicioSemana, RetroAtivo, Cnpj, Endereco, "
        "Cidade, Uf, Telefone) VALUES (?, 0, 1, 0, ?, ?, ?, ?, ?)",
        (
            COMPANY,
            CNPJ,
            "Rua Barão de Jaguara, 1250 - Centro",
            "Campinas",
            "SP",
            "(19) 3232-4567",
        ),
    )
    linhas = [(name, insumo, [p for p, _ in products]) for name, insumo, products in LINHAS]
    setores = [
        (cat, name, lock, [(g, gl, [(c, items) for c, _, _, items in cs]) for g, gl, cs in groups])
        for cat, name, lock, groups in SETORES
    ]
    chart = insert_chart(connection, linhas, setores)
    insert_reports(connection, chart, REPORTS)
    sales, purchases = demo_movements(chart, end)
    insert_movements(connection, sales, purchases)
    return chart


def _copy_resources(program: str) -> None:
    resources = Path(varemo_contas.__file__).resolve().parent / "resources"
    for name in ("Sons", "Ajuda"):
        source = resources / name
        if source.is_dir():
            shutil.copytree(source, Path(program) / name, dirs_exist_ok=True)


def build_demo(folder: str, rebuild: bool = False, today: datetime.date | None = None) -> str:
    """Build (or reuse) a demo installation under `folder`; return the program folder + sep.

    Program folder `programa/` (Caminho.dad, Sons/, Ajuda/); data folder `empresa/`
    (Empresa.ini, Imagens/, Dados/empresa.mdb with a year of movements ending `today`).
    """
    base = os.path.abspath(folder)
    program = os.path.join(base, "programa") + os.sep
    data = os.path.join(base, "empresa") + os.sep
    caminho = program + "Caminho.dad"
    database = os.path.join(data + "Dados", "empresa.mdb")
    if not rebuild and os.path.isfile(caminho) and os.path.isfile(database):
        return program

    for path in (program, data + "Imagens", data + "Dados"):
        os.makedirs(path, exist_ok=True)
    _copy_resources(program)
    with open(data + "Empresa.ini", "w", encoding="utf-8") as ini:
        ini.write(f"[Empresa]\nNome={COMPANY}\nCnpj={CNPJ}\nCidade=Campinas\nUf=SP\n")

    # Built beside and moved in place, so a half-built file is never taken for a database.
    scratch = database + ".novo"
    if os.path.exists(scratch):
        os.remove(scratch)
    schema.create_database(scratch)
    connection = sqlite3.connect(scratch)
    try:
        connection.execute("PRAGMA synchronous = OFF")
        with connection:  # one transaction
            populate(connection, today or datetime.date.today())
    finally:
        connection.close()
    os.replace(scratch, database)

    # Part 1.2: the first line is the data folder, used as a prefix, so it ends in a separator.
    with open(caminho, "w", encoding="utf-8") as file:
        file.write(data + "\n")
    return program
