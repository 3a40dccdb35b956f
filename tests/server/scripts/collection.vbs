' A host script driving the collection and the session object late-bound,
' as hosts written in a scripting language do. Prints ALL PASSED or FAIL lines.
Option Explicit
On Error Resume Next
Dim failures : failures = 0
Sub Check(cond, what)
  If Err.Number <> 0 Then
    WScript.Echo "FAIL " & what & " (error " & Hex(Err.Number) & ")"
    failures = failures + 1
    Err.Clear
  ElseIf Not cond Then
    WScript.Echo "FAIL " & what
    failures = failures + 1
  End If
End Sub

Dim r, it, t, f, k, x, n, fn, p, h, names
Set r = CreateObject("Mervane100.Reports")
Check Not r Is Nothing, "create Reports"
Set it = r.Add("Title A", "a.rpt", "A.RPT")
Check it.ReportTitle = "Title A" And it.FileName = "a.rpt", "Add with literals"
Check it.RegKey = "" And it.ReportType = "" And it.Favourite = False And it.ApplicationData = 0, "fresh item defaults"
t = "Title B" : f = "b.rpt" : k = "b.rpt"
Set it = r.Add(t, f, k)
Check it.ReportTitle = "Title B", "Add with variables by reference"
r.Add "no key", "c.rpt"
Check r.Count = 3, "Count after three adds"
' Arguments are passed by reference but never written back: a variable keeps
' its value and its type whatever the parameter's declared type.
Dim blank
n = 42
Set it = r.Add(n, "n.rpt", blank)
Check it.ReportTitle = "42" And VarType(n) = vbInteger And n = 42, "a number given to Add stays a number"
Check IsEmpty(blank), "an Empty key stays Empty"
r.Remove r.Count
Set it = r.Add("again", "a.rpt", "a.rpt")
Check r.Count = 3 And it.ReportTitle = "again", "duplicate key returns a new item and adds nothing"
Check r(1).ReportTitle = "Title A", "default member by position"
Check r("a.rpt").FileName = "a.rpt", "default member by key, other case"
Check r.Item(k).ReportTitle = "Title B", "Item with a variable key"
Check r(1) Is r.Item(1), "same object through default member and Item"
names = ""
For Each x In r
  names = names & x.FileName & ";"
Next
Check names = "a.rpt;b.rpt;c.rpt;", "For Each in insertion order"
Check r("zzz") Is Nothing, "unknown key gives Nothing"
Check r(0) Is Nothing And r(4) Is Nothing And r(-1) Is Nothing, "positions out of range give Nothing"
Check r(Empty) Is Nothing And r(Null) Is Nothing, "Empty and Null give Nothing"
Check r("1") Is Nothing, "a numeric string is a key"
Check r(1.6).FileName = "b.rpt", "a fractional position rounds"
r.Remove "zzz"
r.Remove 99
Check r.Count = 3, "removing what is not there changes nothing"
r.Remove "A.rpt"
Check r.Count = 2 And r(1).FileName = "b.rpt", "Remove by key"
r.Remove 2
Check r.Count = 1, "Remove by position"
it.Favourite = True : it.ApplicationData = 17 : it.RegKey = "C:\R\a.rpt" : it.ReportType = "Crystal"
Check it.Favourite And it.ApplicationData = 17 And it.RegKey = "C:\R\a.rpt" And it.ReportType = "Crystal", "item properties"

Set fn = CreateObject("Mervane100.ReportFunctions")
Check fn.SqlServer = "", "SqlServer starts empty"
fn.SqlServer = "  srv\inst "
Check fn.SqlServer = "  srv\inst ", "SqlServer reads back unchanged"
fn.Path = "C:\Reports\" : fn.RegistryPath = "Mervane100 Tests" : fn.Module = " layouts " : fn.ParenthWnd = 12345
Check Err.Number = 0, "session properties accept values"

Set p = CreateObject("Mervane100.cPrinter")
p.MinPage = 1 : p.MaxPage = 9 : p.FromPage = 3 : p.ToPage = 4 : p.Orientation = 2 : p.PrintFlags = 0
Check p.MinPage = 1 And p.MaxPage = 9 And p.FromPage = 3 And p.ToPage = 4 And p.Orientation = 2, "printer properties"
Check p.PrinterName = "" And p.Copies = 0, "printer results start empty"

' A wrong number of arguments is an automation error the script can trap; a
' value of the wrong type is not: the call is skipped.
Dim e
r.Item "abc", 2
e = Err.Number : Err.Clear
Check e = 450, "wrong number of arguments"
fn.RecentReportsRemove "abc"
Check Err.Number = 0, "a text for a number"
Check fn.RecentReportsAdd(Array(1, 2), Nothing) = 0, "an array and Nothing for texts give the empty result"
p.ToPage = Null
Check p.ToPage = 4, "Null for a number leaves the property as it was"

If failures = 0 Then WScript.Echo "ALL PASSED" Else WScript.Echo failures & " checks failed"
