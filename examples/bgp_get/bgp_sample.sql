-- A small device: one AS, a dozen neighbors in several session states, two
-- address families each, and a few values the device does not know (NULL).
INSERT INTO bgp_global VALUES (65000, '192.0.2.1');

INSERT INTO bgp_neighbor VALUES
  ('10.0.0.1',  65001, 'transit-a',       1, 'ESTABLISHED', 1700000000, 10000000),
  ('10.0.0.2',  65002, 'transit-b',       1, 'ESTABLISHED', 1700003600, 10000000),
  ('10.0.0.3',  65003, 'peer-ix-1',       1, 'ACTIVE',      NULL,       1000000),
  ('10.0.0.4',  65004, 'peer-ix-2',       1, 'CONNECT',     1699990000, 1000000),
  ('10.0.0.5',  65005, NULL,              0, 'IDLE',        NULL,       NULL),
  ('10.0.0.6',  65006, 'customer-red',    1, 'ESTABLISHED', 1700100000, 100000),
  ('10.0.0.7',  65007, 'customer-green',  1, 'OPENSENT',    1699000000, 100000),
  ('10.0.0.8',  65008, 'customer-blue',   1, 'OPENCONFIRM', 1698000000, 100000),
  ('10.0.0.9',  65009, 'backup-transit',  0, 'IDLE',        1690000000, 10000000),
  ('10.0.0.10', 65010, 'route-server',    1, 'ESTABLISHED', 1700200000, 10000000),
  ('10.0.0.11', 65011, 'lab',             1, 'ACTIVE',      NULL,       NULL),
  ('10.0.0.12', 65012, 'monitoring',      1, 'ESTABLISHED', 1700300000, 1000);

INSERT INTO bgp_afi_safi
  SELECT neighbor_address, 'IPV4_UNICAST', 1, 1000 * CAST(substr(neighbor_address, 8) AS INTEGER)
  FROM bgp_neighbor ORDER BY rowid;
INSERT INTO bgp_afi_safi
  SELECT neighbor_address, 'IPV6_UNICAST', enabled, 10 * CAST(substr(neighbor_address, 8) AS INTEGER)
  FROM bgp_neighbor ORDER BY rowid;
