// The collection and the session object driven from JScript: arguments by
// value, optional arguments left out, Item by name, enumeration through
// NewEnum. Prints ALL PASSED or FAIL lines.
var failures = 0;
function check(cond, what) {
  if (!cond) { WScript.Echo("FAIL " + what); failures++; }
}
function attempt(what, f) {
  try { f(); } catch (e) { WScript.Echo("FAIL " + what + " (" + (e.number >>> 0).toString(16) + ")"); failures++; }
}

var r = new ActiveXObject("Mervane100.Reports");
attempt("Add", function () {
  r.Add("First", "a.rpt", "A.RPT");
  r.Add("Second", "b.rpt");
  var dup = r.Add("Third", "c.rpt", "a.rpt");
  check(dup.ReportTitle == "Third", "a duplicate key still returns the new item");
});
check(r.Count == 2, "Count");
check(r.Item("a.RPT").ReportTitle == "First", "Item by key");
check(r.Item(2).FileName == "b.rpt", "Item by position");
check(r.Item(3) == null, "Item out of range is null");
var seen = [];
for (var e = new Enumerator(r); !e.atEnd(); e.moveNext()) seen.push(e.item().FileName);
check(seen.join(",") == "a.rpt,b.rpt", "enumeration in order: " + seen.join(","));

var it = r.Item(1);
it.Favourite = true;
it.ApplicationData = -5;
check(it.Favourite == true && it.ApplicationData == -5, "item properties");

var fn = new ActiveXObject("Mervane100.ReportFunctions");
fn.SqlServer = "srv";
check(fn.SqlServer == "srv", "SqlServer");
attempt("GetFavourites with one argument", function () { fn.GetFavourites(r); });
attempt("a text for a number skips the call", function () { fn.RecentReportsRemove("not a number"); });
attempt("an object for a text", function () { check(fn.RecentReportsAdd(r, null) == 0, "the empty result"); });

var p = new ActiveXObject("Mervane100.cPrinter");
p.ToPage = 7;
check(p.ToPage == 7, "printer ToPage");

WScript.Echo(failures == 0 ? "ALL PASSED" : failures + " checks failed");
