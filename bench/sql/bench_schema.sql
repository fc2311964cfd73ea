-- Builds a Tessel 9.0.0 schema of any size in the Oracle layout for the benchmark: CALL bench_build(n).
-- Load after tessel_schema.sql, oracle_dictionary.sql and compressed_binary/layer_builder.sql.
--
-- Layer i (1..n) belongs to one of four owners and is stored as follows:
--   i % 10 = 0        plain storage: the business table only, no side tables
--   otherwise         compressed binary (F and S tables); every second one versioned (A and D tables too);
--                     i % 25 = 3 is in load-only I/O mode
--   i % 10 = 5        the table also carries a raster column, registered in RASTER_COLUMNS
-- Every layer has its LAYERS, TABLE_REGISTRY and GEOMETRY_COLUMNS rows. One layer in 50 is broken, in one of
-- ten ways taken in turn (see bench_broken_kind); at 2 % broken, each way meets at most 20 of 10,000 layers,
-- so no orphaned-entry check reaches its report limit of 25 and every row walk visits every row.

CREATE FUNCTION public.bench_owner(p_layer integer) RETURNS text
    LANGUAGE sql IMMUTABLE AS $$ SELECT (ARRAY['GIS', 'CADASTRE', 'UTILITY', 'HYDRO'])[1 + p_layer % 4] $$;

CREATE FUNCTION public.bench_table(p_layer integer) RETURNS text
    LANGUAGE sql IMMUTABLE AS $$ SELECT 'FEATURE_' || lpad(p_layer::text, 5, '0') $$;

-- Registration ids are not layer ids, so that the adds and deletes tables are told apart from F and S.
CREATE FUNCTION public.bench_registration(p_layer integer) RETURNS integer
    LANGUAGE sql IMMUTABLE AS $$ SELECT 100000 + p_layer $$;

CREATE FUNCTION public.bench_is_versioned(p_layer integer) RETURNS boolean
    LANGUAGE sql IMMUTABLE AS $$ SELECT p_layer % 10 <> 0 AND p_layer % 2 = 0 $$;

-- The system tables' fixed rows: version, spatial references and configuration keywords.
CREATE PROCEDURE public.bench_fixed_rows()
    LANGUAGE plpgsql AS $$
BEGIN
    INSERT INTO tsl.version (major, minor, bugfix, release, description)
    VALUES (9, 0, 0, 90000, 'Tessel for Oracle 9.0.0 Build 1 Fri Mar 14 2008');

    INSERT INTO tsl.spatial_references (srid, description, auth_name, auth_srid, srtext)
    SELECT s, 'Reference system ' || s, 'EPSG', 25830 + s,
           'PROJCS["ETRS_1989_UTM_Zone_' || (30 + s) || 'N",GEOGCS["GCS_ETRS_1989",DATUM["D_ETRS_1989",'
           'SPHEROID["GRS_1980",6378137.0,298.257222101]],PRIMEM["Greenwich",0.0],'
           'UNIT["Degree",0.0174532925199433]],PROJECTION["Transverse_Mercator"],UNIT["Meter",1.0]]'
    FROM generate_series(1, 8) AS s;

    INSERT INTO tsl.dbtune (keyword, parameter_name, config_string)
    SELECT k, p, 'PCTFREE 0 INITRANS 4 TABLESPACE ' || k || '_' || p
    FROM unnest(ARRAY['DEFAULTS', 'RASTER', 'GIS', 'CADASTRE', 'UTILITY', 'HYDRO']) AS k,
         unnest(ARRAY['GEOMETRY_STORAGE', 'B_STORAGE', 'B_INDEX_ROWID', 'F_STORAGE', 'F_INDEX_AREA',
                      'F_INDEX_LEN', 'S_STORAGE', 'S_INDEX_ALL', 'A_STORAGE', 'D_STORAGE']) AS p;
END;
$$;

-- One healthy layer with all its objects and system-table rows.
CREATE PROCEDURE public.bench_layer(p_layer integer)
    LANGUAGE plpgsql AS $$
DECLARE
    o text := bench_owner(p_layer);
    t text := bench_table(p_layer);
    reg integer := bench_registration(p_layer);
    ref integer := 1 + p_layer % 8;
BEGIN
    IF p_layer % 10 = 0 THEN
        EXECUTE format('CREATE SCHEMA IF NOT EXISTS %I', lower(o));
        EXECUTE format('CREATE TABLE %I.%I (objectid integer NOT NULL, label varchar(40), shape integer)',
                       lower(o), lower(t));
        INSERT INTO tsl.layers (layer_id, description, database_name, owner, table_name, spatial_column, eflags,
                                srid, layer_config)
        VALUES (p_layer, t || ' layer', NULL, o, t, 'SHAPE', 6, ref, o);
        INSERT INTO tsl.table_registry (registration_id, table_name, owner, database_name, rowid_column,
                                        description, object_flags, config_keyword)
        VALUES (reg, t, o, NULL, 'OBJECTID', t || ' table', 2, o);
    ELSE
        -- Its LAYERS row gets its own reference system and keyword in bench_build, in one statement.
        PERFORM fixture_cb_layer(o, t, 'SHAPE', 'OBJECTID', p_layer, reg,
                                 p_versioned => bench_is_versioned(p_layer), p_load_only => p_layer % 25 = 3);
    END IF;
    INSERT INTO tsl.geometry_columns (f_table_catalog, f_table_schema, f_table_name, f_geometry_column,
                                      storage_type, geometry_type, coord_dimension, srid)
    VALUES (NULL, o, t, 'SHAPE', 1, 1 + p_layer % 11, 2, ref);
    IF p_layer % 10 = 5 THEN
        EXECUTE format('ALTER TABLE %I.%I ADD COLUMN raster integer', lower(o), lower(t));
        INSERT INTO tsl.raster_columns (rastercolumn_id, description, database_name, owner, table_name,
                                        raster_column, config_keyword, srid)
        VALUES (p_layer, t || ' imagery', NULL, o, t, 'RASTER', 'RASTER', ref);
    END IF;
END;
$$;

-- Which way layer p_layer is broken, or NULL for a healthy one: one layer in each block of 50, at offset 17 in
-- even blocks (a plain compressed-binary layer) and 18 in odd ones (a versioned one), the ten ways in turn.
CREATE FUNCTION public.bench_broken_kind(p_layer integer) RETURNS integer
    LANGUAGE sql IMMUTABLE AS $$
    SELECT CASE WHEN p_layer % 50 = 17 + (p_layer / 50) % 2 THEN (p_layer / 50) % 10 END
$$;

-- Breaks layer p_layer in way p_kind. Even kinds meet plain, odd kinds versioned compressed-binary layers.
-- The first two touch several checks at once, so that even the smallest schema has broken entries for the
-- row walks as well as for the index analysis.
CREATE PROCEDURE public.bench_break(p_layer integer, p_kind integer)
    LANGUAGE plpgsql AS $$
DECLARE
    s text := lower(bench_owner(p_layer));
    t text := lower(bench_table(p_layer));
    l text := p_layer::text;
    reg text := bench_registration(p_layer)::text;
BEGIN
    CASE p_kind
        WHEN 0 THEN  -- spatial column renamed: LAYERS and GEOMETRY_COLUMNS orphans, A<l>_IX1 now wrong
            EXECUTE format('ALTER TABLE %I.%I RENAME COLUMN shape TO shape_old', s, t);
        WHEN 1 THEN  -- adds table lost
            EXECUTE format('DROP TABLE %I.%I', s, 'a' || reg);
        WHEN 2 THEN  -- row-id column renamed: TABLE_REGISTRY orphan, R<reg>_TSL_ROWID_UK now wrong
            EXECUTE format('ALTER TABLE %I.%I RENAME COLUMN objectid TO objectid_old', s, t);
        WHEN 3 THEN  -- feature table lost, and an unknown spatial reference
            EXECUTE format('DROP TABLE %I.%I', s, 'f' || l);
            UPDATE tsl.layers SET srid = 999 WHERE layer_id = p_layer;
        WHEN 4 THEN  -- spatial index with two columns swapped
            EXECUTE format('DROP INDEX %I.%I', s, 's' || l || '_ix1');
            EXECUTE format('CREATE UNIQUE INDEX %I ON %I.%I (gy, gx, emaxx, emaxy, eminx, eminy, sp_fid)',
                           's' || l || '_ix1', s, 's' || l);
        WHEN 5 THEN  -- configuration keyword missing from DBTUNE
            UPDATE tsl.layers SET layer_config = 'RETIRED' WHERE layer_id = p_layer;
            UPDATE tsl.table_registry SET config_keyword = 'RETIRED' WHERE registration_id = reg::integer;
        WHEN 6 THEN  -- feature table's unique key built as a plain index
            EXECUTE format('DROP INDEX %I.%I', s, 'f' || l || '_uk1');
            EXECUTE format('CREATE INDEX %I ON %I.%I (fid)', 'f' || l || '_uk1', s, 'f' || l);
        WHEN 7 THEN  -- layer missing from GEOMETRY_COLUMNS
            DELETE FROM tsl.geometry_columns WHERE f_table_schema = bench_owner(p_layer)
                                               AND f_table_name = bench_table(p_layer);
        WHEN 8 THEN  -- raster column registered on a table without one, under unknown keyword and reference
            INSERT INTO tsl.raster_columns (rastercolumn_id, description, database_name, owner, table_name,
                                            raster_column, config_keyword, srid)
            VALUES (p_layer, 'Lost imagery', NULL, bench_owner(p_layer), bench_table(p_layer), 'RASTER',
                    'RETIRED', 999);
        WHEN 9 THEN  -- an index of the deletes table missing
            EXECUTE format('DROP INDEX %I.%I', s, 'd' || reg || '_idx2');
    END CASE;
END;
$$;

-- Builds n layers, committing in batches: one transaction for everything would need a lock per created
-- object, far beyond the server's lock table.
CREATE PROCEDURE public.bench_build(p_layers integer, p_batch integer DEFAULT 200)
    LANGUAGE plpgsql AS $$
BEGIN
    CALL bench_fixed_rows();
    FOR i IN 1..p_layers LOOP
        CALL bench_layer(i);
        IF i % p_batch = 0 THEN
            COMMIT;
        END IF;
    END LOOP;
    UPDATE tsl.layers SET srid = 1 + layer_id % 8, layer_config = bench_owner(layer_id);
    FOR i IN 1..p_layers LOOP
        IF bench_broken_kind(i) IS NOT NULL THEN
            CALL bench_break(i, bench_broken_kind(i));
        END IF;
    END LOOP;
    COMMIT;
END;
$$;
