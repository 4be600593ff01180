-- A small shop: the sample database that `make run` creates and queries.
PRAGMA foreign_keys = ON;

CREATE TABLE country (
    code     CHAR(2) PRIMARY KEY,
    name     VARCHAR(60) NOT NULL,
    vat_rate DECIMAL(5, 2)
);

CREATE TABLE customer (
    id          INTEGER PRIMARY KEY,
    name        VARCHAR(80) NOT NULL,
    country     CHAR(2) NOT NULL REFERENCES country (code),
    email       VARCHAR(120),
    born        DATE,
    is_business BOOLEAN NOT NULL DEFAULT 0
);

CREATE TABLE product (
    sku     VARCHAR(12) PRIMARY KEY,
    name    VARCHAR(80) NOT NULL,
    price   DECIMAL(12, 2) NOT NULL,
    weight  DOUBLE,
    picture BLOB
);

CREATE TABLE purchase (
    id       INTEGER PRIMARY KEY,
    customer INTEGER NOT NULL REFERENCES customer (id),
    placed   TIMESTAMP(3) NOT NULL,
    shipped  TIMESTAMP(3)
);

CREATE TABLE purchase_item (
    purchase INTEGER NOT NULL REFERENCES purchase (id),
    line     SMALLINT NOT NULL,
    sku      VARCHAR(12) NOT NULL REFERENCES product (sku),
    quantity SMALLINT NOT NULL,
    discount DECIMAL(5, 2),
    PRIMARY KEY (purchase, line)
);

INSERT INTO country VALUES
    ('DE', 'Deutschland', 19.00),
    ('FR', 'France', 20.00),
    ('GR', 'Ελλάδα', 24.00),
    ('JP', '日本', 10.00),
    ('PL', 'Polska', 23.00),
    ('US', 'United States', NULL);

INSERT INTO customer (id, name, country, email, born, is_business) VALUES
    (1, 'Zoë Müller', 'DE', 'zoe@example.com', '1984-02-29', 0),
    (2, 'Łukasz Żółć', 'PL', NULL, '1991-11-05', 0),
    (3, 'Ελένη Παπαδοπούλου', 'GR', 'eleni@example.com', NULL, 0),
    (4, '山田 太郎', 'JP', 'taro@example.com', '1979-07-14', 0),
    (5, 'O''Neill & Sons', 'US', 'office@example.com', NULL, 1),
    (6, 'Café "Le Zinc"', 'FR', NULL, NULL, 1),
    (7, 'file9', 'US', NULL, '2001-01-01', 0),
    (8, 'file10', 'US', '', '2001-01-02', 0);

INSERT INTO product (sku, name, price, weight, picture) VALUES
    ('TEA-001', 'Green tea, 100 g', 4.90, 0.1, X'89504E470D0A1A0A'),
    ('TEA-002', 'Black tea, 250 g', 7.25, 0.25, NULL),
    ('CUP-010', 'Cup with handle', 12.00, 0.31, X'FFD8FFE0'),
    ('POT-001', 'Teapot "Grandmother"', 1249.99, 1.875, NULL),
    ('GIFT', 'Voucher', 50.00, NULL, NULL);

INSERT INTO purchase (id, customer, placed, shipped) VALUES
    (1001, 1, '2024-03-01 09:15:30.250', '2024-03-02 16:00:00.000'),
    (1002, 4, '2024-03-01 23:59:59.999', '2024-03-05 08:30:00.000'),
    (1003, 3, '2024-03-02 12:00:00.000', NULL),
    (1004, 5, '2024-03-04 07:45:10.500', '2024-03-04 18:20:00.000'),
    (1005, 2, '2024-03-09 20:20:20.200', NULL),
    (1006, 6, '2024-03-10 10:10:10.010', '2024-03-11 11:11:11.111');

INSERT INTO purchase_item (purchase, line, sku, quantity, discount) VALUES
    (1001, 1, 'TEA-001', 3, NULL),
    (1001, 2, 'CUP-010', 2, 10.00),
    (1002, 1, 'POT-001', 1, 2.50),
    (1003, 1, 'TEA-002', 1, NULL),
    (1003, 2, 'TEA-001', 1, NULL),
    (1003, 3, 'GIFT', 2, NULL),
    (1004, 1, 'CUP-010', 48, 15.00),
    (1005, 1, 'GIFT', 1, NULL),
    (1006, 1, 'TEA-002', 12, 5.00),
    (1006, 2, 'POT-001', 1, NULL);
