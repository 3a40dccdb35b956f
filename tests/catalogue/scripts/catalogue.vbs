' The catalogue as a host drives it: GetReports on a folder of real report
' files, stored values seeded and read through the host's settings store,
' favourites, the recent-reports list and DeleteReport.
'   cscript catalogue.vbs <examples\reports folder>
Option Explicit
On Error Resume Next
Dim failures : failures = 0
Sub Check(cond, what)
  If Err.Number <> 0 Then
    WScript.Echo "FAIL " & what & " (error " & Hex(Err.Number) & " " & Err.Description & ")"
    failures = failures + 1
    Err.Clear
  ElseIf Not cond Then
    WScript.Echo "FAIL " & what
    failures = failures + 1
  End If
End Sub

Dim fso, examples, tmp, root, settings, fn, r, f, it, rpt, report, value, n, fav, ok
Set fso = CreateObject("Scripting.FileSystemObject")
examples = WScript.Arguments(0)
tmp = fso.GetSpecialFolder(2) & "\mervane-catalogue-" & CStr(Int(Timer * 100))
If fso.FolderExists(tmp) Then fso.DeleteFolder tmp, True
fso.CreateFolder tmp

' One report of each family, and a file that is not a report.
rpt = "" : report = ""
For Each f In fso.GetFolder(examples).Files
  If LCase(fso.GetExtensionName(f.Name)) = "rpt" And rpt = "" Then rpt = f.Path
  If LCase(fso.GetExtensionName(f.Name)) = "report" And report = "" Then report = f.Path
Next
Check rpt <> "" And report <> "", "example reports found in " & examples
fso.CopyFile rpt, tmp & "\a.rpt"
fso.CreateTextFile(tmp & "\b.txt").Write "not a report"
fso.CopyFile report, tmp & "\c.report"

root = "Mervane100 Catalogue Test"
Set settings = CreateObject("MervaneHost.Settings")
Check Not settings Is Nothing, "host settings store"
settings.DeleteSetting root, "Reports", ""
settings.DeleteSetting root, "RecentReports", ""

Set fn = CreateObject("Mervane100.ReportFunctions")
fn.RegistryPath = root
fn.Path = tmp & "\"
Set r = CreateObject("Mervane100.Reports")
fn.GetReports r
Check r.Count = 2, "two reports listed, got " & r.Count
Check r(1).FileName = "a.rpt" And r(1).ReportType = "Crystal" And r(1).RegKey = tmp & "\a.rpt", "Crystal item"
Check r(2).FileName = "c.report" And r(2).ReportType = "Vardo" And r(2).ReportTitle <> "", "Vardo item"
Check Not r(1).Favourite, "not a favourite on first sight"
value = settings.GetSetting(root, "Reports", tmp & "\a.rpt", "<none>")
Check value = r(1).ReportTitle & ";N;" & r(1).ApplicationData, "first sight stores title;N;data: " & value
Check settings.GetSetting(root, "Reports", tmp & "\c.report", "<none>") = "<none>", "Vardo reports are not stored"

' The host marks a favourite by rewriting the value; the next scan reads it.
settings.SaveSetting root, "Reports", tmp & "\a.rpt", "Profit;loss;Y;3"
Set r = CreateObject("Mervane100.Reports")
fn.GetReports r
Check r(1).ReportTitle = "Profit;loss" And r(1).ApplicationData = 3 And Not r(1).Favourite, "stored value read from its end, the flag test inside the title: " & r(1).ReportTitle & "|" & r(1).ApplicationData & "|" & r(1).Favourite
fn.GetReports r
Check r.Count = 2, "a second scan into the same collection adds nothing"
fn.GetReports Nothing
Check True, "GetReports with Nothing"

Set fav = CreateObject("Mervane100.Reports")
settings.SaveSetting root, "Reports", tmp & "\a.rpt", "Sales;Y;3"
fn.GetFavourites fav
Check fav.Count = 1, "one favourite"
Check fav(1).FileName = tmp & "\a.rpt" And fav(1).ReportTitle = "Sales" And fav(1).Favourite, "favourite item"
Set fav = CreateObject("Mervane100.Reports")
fn.GetFavourites fav, True
Check fav(1).FileName = "a.rpt", "favourite with the path stripped"
n = 1
fn.GetFavourites fav, n
Check VarType(n) = vbInteger And n = 1, "bStripPath is never written back"

' Recent reports.
Check fn.RecentReportsAdd(tmp & "\a.rpt", "Sales") = 1, "add to an empty list"
Check fn.RecentReportsAdd(tmp & "\a.rpt", "Other") = 0, "adding the first again"
Check fn.RecentReportsAdd(tmp & "\c.report", "Letters") = 1, "add a second"
Check settings.GetSetting(root, "RecentReports", "1", "") = "Letters," & tmp & "\c.report", "newest first"
Set r = CreateObject("Mervane100.Reports")
fn.RecentReportsGet r
Check r.Count = 2 And r(2).RegKey = "2" And r(2).Favourite And Not r(1).Favourite, "recent list with favourites"
fn.RecentReportsRemove 1
Check settings.GetSetting(root, "RecentReports", "1", "") = "Sales," & tmp & "\a.rpt", "removed and moved up"

' Delete moves the file and drops its value.
ok = fn.DeleteReport(tmp & "\", "a.rpt")
Check ok, "DeleteReport answers True"
Check fso.FileExists(tmp & "\Deleted Reports\a.rpt") And Not fso.FileExists(tmp & "\a.rpt"), "moved into Deleted Reports"
Check settings.GetSetting(root, "Reports", tmp & "\a.rpt", "<none>") = "<none>", "value removed"
fso.CopyFile rpt, tmp & "\a.rpt"
ok = fn.DeleteReport(tmp, "a.rpt")
Check ok And fso.FileExists(tmp & "\a.rpt"), "a second delete of the same name keeps the file"
' A name holding a NUL names no file, not the file named by the text before it.
fn.DeleteReport tmp & "\", "c.report" & Chr(0) & ".txt"
fn.DeleteReport tmp & "\" & Chr(0) & "\", "a.rpt"
Check fso.FileExists(tmp & "\c.report") And fso.FileExists(tmp & "\a.rpt"), "names holding a NUL delete nothing"

settings.DeleteSetting root, "Reports", ""
settings.DeleteSetting root, "RecentReports", ""
fso.DeleteFolder tmp, True
If failures = 0 Then WScript.Echo "ALL PASSED" Else WScript.Echo failures & " checks failed"
