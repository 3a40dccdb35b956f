#!/usr/bin/env python3
"""Writes the seed corpora of the archive, summary, stored-value, connection,
delimited-text and Vardo harnesses into fuzz/<harness>/corpus/. Each seed is
a small valid input of one shape the reader must handle, for the fuzzer to
start from; the fuzzer finds the broken ones itself. Run it again after
changing a seed here:
    python3 fuzz/make_seeds.py
(The definition harness's seeds come from definition_seeds, the formula
harness's corpus is kept as the fuzzer grew it.)"""
import pathlib
import struct
import zlib

HERE = pathlib.Path(__file__).resolve().parent
EXAMPLES = HERE.parent / "examples" / "reports"


def write(harness, name, data):
    folder = HERE / harness / "corpus"
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_bytes(data if isinstance(data, bytes) else data.encode("utf-8"))


# --- zip archives -----------------------------------------------------------

class Entry:
    def __init__(self, name, data, deflate=True, flags=0, host=3, extra=b"", descriptor=False, zip64=False):
        self.name = name if isinstance(name, bytes) else name.encode("utf-8")
        self.data, self.deflate, self.flags, self.host = data, deflate, flags, host
        self.extra, self.descriptor, self.zip64 = extra, descriptor, zip64


def archive(entries, zip64_end=False):
    out, central = b"", b""
    for e in entries:
        body = e.data
        if e.deflate:
            c = zlib.compressobj(6, zlib.DEFLATED, -15)
            body = c.compress(e.data) + c.flush()
        crc, method = zlib.crc32(e.data), 8 if e.deflate else 0
        flags = e.flags | (0x08 if e.descriptor else 0)
        offset = len(out)
        sizes = (0xFFFFFFFF, 0xFFFFFFFF) if e.zip64 else (len(body), len(e.data))
        local_extra = e.extra + (struct.pack("<HHQQ", 1, 16, len(e.data), len(body)) if e.zip64 else b"")
        head_crc, head_sizes = (0, (0, 0)) if e.descriptor else (crc, sizes)
        out += struct.pack("<IHHHHHIIIHH", 0x04034B50, 45 if e.zip64 else 20, flags, method, 0, 0x21,
                           head_crc, *head_sizes, len(e.name), len(local_extra)) + e.name + local_extra + body
        if e.descriptor:
            out += struct.pack("<IIII", 0x08074B50, crc, len(body), len(e.data))
        central_extra = e.extra
        if e.zip64:
            central_extra += struct.pack("<HHQQQ", 1, 24, len(e.data), len(body), offset)
        central += struct.pack("<IHHHHHHIIIHHHHHII", 0x02014B50, (e.host << 8) | 45, 45 if e.zip64 else 20, flags,
                               method, 0, 0x21, crc, *sizes, len(e.name), len(central_extra), 0, 0, 0,
                               0o100644 << 16, 0xFFFFFFFF if e.zip64 else offset) + e.name + central_extra
    directory_at = len(out)
    out += central
    count = len(entries)
    if zip64_end:
        end64_at = len(out)
        out += struct.pack("<IQHHIIQQQQ", 0x06064B50, 44, 45, 45, 0, 0, count, count, len(central), directory_at)
        out += struct.pack("<IIQI", 0x07064B50, 0, end64_at, 1)
        return out + struct.pack("<IHHHHIIH", 0x06054B50, 0, 0, 0xFFFF, 0xFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0)
    return out + struct.pack("<IHHHHIIH", 0x06054B50, 0, 0, count, count, len(central), directory_at, 0)


REPORT = b"Monthly sales by region\r\n" * 8


def zips():
    write("archive", "stored.zip", archive([Entry("Monthly Sales.rpt", REPORT, deflate=False)]))
    write("archive", "deflated.zip", archive([Entry("SALES.SRT", REPORT), Entry("stock.report", b"#VARDO-DOCUMENT 2\n")]))
    write("archive", "utf8_names.zip",
          archive([Entry("\u00dcbersicht \u0141\u00f3d\u017a.rpt", REPORT, flags=0x0800),
                   Entry(b"Ventes r\x82gion.rpt", b"x", host=0)]))
    unicode_path = b"\x01" + struct.pack("<I", zlib.crc32(b"R?sum?.rpt")) + "R\u00e9sum\u00e9.rpt".encode()
    write("archive", "unicode_path_extra.zip",
          archive([Entry(b"R?sum?.rpt", REPORT, host=0, extra=struct.pack("<HH", 0x7075, len(unicode_path)) + unicode_path)]))
    write("archive", "data_descriptors.zip",
          archive([Entry("a.rpt", REPORT, descriptor=True), Entry("b.rpt", b"", deflate=False, descriptor=True)]))
    write("archive", "zip64.zip", archive([Entry("big.rpt", REPORT, zip64=True), Entry("small.rpt", b"s")], zip64_end=True))
    write("archive", "unsafe_names.zip",
          archive([Entry(n, b"x", deflate=False) for n in
                   ("../up.rpt", "reports/inner.rpt", "C:/root.rpt", "sub\\..\\back.rpt", "CON.rpt", "trail.rpt.", "folder/")]))


# --- SummaryInformation streams ---------------------------------------------

SUMMARY_FORMAT = bytes.fromhex("E0859FF2F94F6810AB9108002B27B3D9")
OTHER_FORMAT = bytes.fromhex("02D5CDD59C2E1B10939708002B2CF9AE")


def prop(vt, payload):
    value = struct.pack("<HH", vt, 0) + payload
    return value + b"\0" * (-len(value) % 4)


def code_page(cp):
    return prop(2, struct.pack("<HH", cp, 0))


def lpstr(data):
    return prop(30, struct.pack("<I", len(data) + 1) + data + b"\0")


def lpstr_unicode(text):
    return prop(30, struct.pack("<I", 2 * (len(text) + 1)) + text.encode("utf-16-le") + b"\0\0")


def lpwstr(text):
    return prop(31, struct.pack("<I", len(text) + 1) + text.encode("utf-16-le") + b"\0\0")


def section(properties):
    head, values, at = b"", b"", 8 + 8 * len(properties)
    for pid, value in properties:
        head += struct.pack("<II", pid, at + len(values))
        values += value
    return struct.pack("<II", 8 + len(head) + len(values), len(properties)) + head + values


def property_set(sections):
    out = struct.pack("<HHI", 0xFFFE, 0, 0x00020006) + b"\0" * 16 + struct.pack("<I", len(sections))
    at = 28 + 20 * len(sections)
    bodies = b""
    for fmt, body in sections:
        out += fmt + struct.pack("<I", at + len(bodies))
        bodies += body
    return out + bodies


def summaries():
    write("summary", "ansi_1252", property_set([(SUMMARY_FORMAT, section(
        [(1, code_page(1252)), (2, lpstr(b"Monthly sales")), (6, lpstr(b"Dept=4;AppData=17;"))]))]))
    write("summary", "unicode_after_other", property_set([
        (OTHER_FORMAT, section([(2, prop(3, struct.pack("<I", 7)))])),
        (SUMMARY_FORMAT, section([(2, lpwstr("Z\u00fcrich \u03a3")), (6, lpstr_unicode("AppData=3; \u00e9")),
                                  (1, code_page(1200))]))]))
    write("summary", "ansi_1251", property_set([(SUMMARY_FORMAT, section(
        [(1, code_page(1251)), (2, lpstr(b"\xce\xf2\xf7\xb8\xf2")), (4, lpstr(b"author")), (6, lpstr(b"AppData=1;\0tail"))]))]))


# --- stored values and the recent list --------------------------------------

def stored_values():
    write("stored_values", "catalogue",
          "RC:\\Reports\\Monthly Sales.rpt|Monthly sales;N;17\n"
          "RC:\\Reports\\Totals; by year.rpt|Totals; by year;Y;-3\n"
          "RC:\\Reports\\new.rpt|\n"
          "RC:\\Elsewhere\\old.rpt|Old;Y;x\n"
          "RC:\\Reports\\SALES.SRT|\n"
          "Monthly sales,C:\\Reports\\Monthly Sales.rpt\n"
          " DELETED \n"
          "-\n"
          "nocomma\n")
    write("stored_values", "long_recent_list",
          "".join(f"T{n},C:\\Reports\\{n}.rpt\n" for n in range(1, 14)) + "   \n")
    write("stored_values", "failing_store", "!\nRC:\\Reports\\a.rpt|A;Y;1\nA,C:\\Reports\\a.rpt\n")


# --- connection texts ---------------------------------------------------------

def connections():
    texts = {
        "oledb_integrated": "0Provider=SQLOLEDB.1;Integrated Security=SSPI;Persist Security Info=False;"
                            "Initial Catalog=Sales;Data Source=Ledger",
        "oledb_password": "0Provider=SQLOLEDB.1;Password=p;w=d};Persist Security Info=True;User ID=sa;"
                          "Initial Catalog=Sales;Data Source=SRV01",
        "host_text": "1ODBC;DATABASE=halyard;UID=clerk;PWD=se;cr=et {x};DSN=Halyard",
        "host_sqlite": "1ODBC;DATABASE=company;UID=;PWD=;DSN=Company",
        "odbc_sqlite_file": "1DRIVER={SQLite3};Database=C:\\data\\company.db;Fetch=10",
        "msdasql": "0Provider=MSDASQL.1;Extended Properties=\"DSN=Halyard;UID=a;PWD={x;y}}}\"",
        "sqlite_data_source": "1Data Source=Z:\\srv\\company.db;Initial Catalog=company; User ID='u'",
    }
    for name, text in texts.items():
        write("connection", name, text)


# --- delimited text ------------------------------------------------------------

def delimited():
    # First byte: delimiter (0 ',', 1 ';', 2 tab, 3 default) plus 4 for a header row.
    write("delimited", "header_quotes_crlf",
          b"\x04Code,Name,Amount\r\n1,\"Smith, J\",12.5\r\n2,\"say \"\"hi\"\"\",-3e2\r\n3,,\r\n\"\",\"two\nlines\",4\n")
    write("delimited", "utf16_semicolons", b"\x05" + "\ufeffA;B\n\u00e9;1\n;2.0\n".encode("utf-16-le"))
    write("delimited", "utf16be_tabs", b"\x02" + "\ufeffx\t1\ny\t\n".encode("utf-16-be"))
    write("delimited", "bom_ragged", b"\x03\xef\xbb\xbfa,b,c\n1\n1,2,3,4\n+1.5E+3, 7 ,x\n")


# --- Vardo report files ----------------------------------------------------------

def vardo():
    for name in ("SALES.SRT", "INVOICE.SLY", "stock.report", "address.label"):
        write("vardo", name, (EXAMPLES / name).read_bytes())
    write("vardo", "definition_utf8_bom", "\ufeffVARDO DEFINITION 12\r\nTITLE = Caf\u00e9 \u2014 totals\r\nAPPDATA=-2147483648\r\n[BODY]\r\n")
    # Twenty thousand names: each is looked up among those before it, which
    # must not cost time growing with the square of their number (this file
    # took minutes and ran into the fuzzer's time limit).
    write("vardo", "many_names.srt", "VARDO DEFINITION 1\n" + "".join(f"k{n:06d}=v\n" for n in range(20000)))
    write("vardo", "document_sections", "#VARDO-DOCUMENT 2\r[Data]\rTitle=No\r[ properties ]\r; note\rTitle=Yes\rTitle=Again\r[Layout]\r")


if __name__ == "__main__":
    zips()
    summaries()
    stored_values()
    connections()
    delimited()
    vardo()
