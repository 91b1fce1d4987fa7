-- The system database's BGP tables, as the example backend reads them.
CREATE TABLE bgp_global (as_number INTEGER NOT NULL, router_id TEXT NOT NULL);  -- one row
CREATE TABLE bgp_neighbor (
  neighbor_address TEXT PRIMARY KEY,   -- dotted IPv4
  peer_as INTEGER NOT NULL,
  description TEXT,                    -- NULL: leaf absent
  enabled INTEGER NOT NULL,            -- 0 or 1
  session_state TEXT NOT NULL,         -- IDLE, CONNECT, ACTIVE, OPENSENT, OPENCONFIRM, ESTABLISHED
  last_established INTEGER,            -- seconds since the epoch; NULL: leaf absent
  link_bandwidth_kbps INTEGER          -- kbit/s; NULL: leaf absent
);
CREATE TABLE bgp_afi_safi (
  neighbor_address TEXT NOT NULL REFERENCES bgp_neighbor(neighbor_address),
  afi_safi_name TEXT NOT NULL,
  enabled INTEGER NOT NULL,
  prefixes_received INTEGER NOT NULL,
  PRIMARY KEY (neighbor_address, afi_safi_name)
);
