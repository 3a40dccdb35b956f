' A sample host session: what a host application does with the library.
'   cscript host-session.vbs <reports folder with trailing \> [<company database file> [<output file>]]
' With an output file the lines go there as Unicode text instead of to the
' console, whose code page cannot show every title.
Option Explicit
On Error Resume Next
Dim folder, examples, root, fn, settings, reports, item, favourites, recent, key, value, marked, out

If WScript.Arguments.Count > 2 Then
  Set out = CreateObject("Scripting.FileSystemObject").CreateTextFile(WScript.Arguments(2), True, True)
  If Err.Number <> 0 Then Say "cannot write " & WScript.Arguments(2) : WScript.Quit 1
End If

folder = WScript.Arguments(0)
examples = Left(folder, InStrRev(Left(folder, Len(folder) - 1), "\"))
root = "Mervane100 Demo"

' The host's own settings: where its older-format reports are found, and a
' fresh catalogue for this demonstration.
Set settings = CreateObject("MervaneHost.Settings")
If Err.Number <> 0 Then Say "MervaneHost is not registered (" & Hex(Err.Number) & ")" : WScript.Quit 1
settings.SaveSetting root, "Company", "ProgramReports", examples
settings.DeleteSetting root, "Reports", ""
settings.DeleteSetting root, "RecentReports", ""

Set fn = CreateObject("Mervane100.ReportFunctions")
If Err.Number <> 0 Then Say "Mervane100 is not registered (" & Hex(Err.Number) & ")" : WScript.Quit 1
fn.RegistryPath = root
fn.Path = folder
fn.AppName = "Mervane100 Demo"
fn.Module = ""
' The company's data: the example SQLite database through its ODBC driver.
If WScript.Arguments.Count > 1 Then
  fn.SqlDatabase = "company"
  fn.SqlConnString = "Driver={SQLite3};Database=" & WScript.Arguments(1) & ";StepAPI=1;NoCreat=1"
End If

Set reports = CreateObject("Mervane100.Reports")
fn.GetReports reports
Say "Reports in " & folder & " (" & reports.Count & "):"
ShowList reports

' The user marks reports as favourites: the host rewrites their stored values
' with the flag Y, under the key the library handed out in RegKey.
For Each item In reports
  Select Case item.FileName
    Case "Monthly Sales.rpt", "Stock Valuation.rpt", "stock.report"
      settings.SaveSetting root, "Reports", item.RegKey, item.ReportTitle & ";Y;" & item.ApplicationData
  End Select
Next

' The user opens a few reports; the host keeps them in the recent list.
For Each key In Array("SALES.SRT", "Monthly Sales.rpt", "delivery.layout", "Stock Valuation.rpt")
  Set item = reports(key)
  fn.RecentReportsAdd item.RegKey, item.ReportTitle
Next

Set favourites = CreateObject("Mervane100.Reports")
fn.GetFavourites favourites, True
Say ""
Say "Favourites (" & favourites.Count & "):"
For Each item In favourites
  Say "  " & item.FileName & "  " & item.ReportTitle
Next

Set recent = CreateObject("Mervane100.Reports")
fn.RecentReportsGet recent
Say ""
Say "Recently used (" & recent.Count & "), newest first:"
For Each item In recent
  Say "  " & item.RegKey & ". " & item.ReportTitle & "  " & item.FileName & IIf(item.Favourite, "  *", "")
Next

Set reports = CreateObject("Mervane100.Reports")
fn.GetReports reports
Say ""
Say "The catalogue again, favourites marked *:"
ShowList reports
If Err.Number <> 0 Then Say "error " & Hex(Err.Number) : Err.Clear
If Not IsEmpty(out) Then out.Close

Sub Say(text)
  If IsEmpty(out) Then WScript.Echo text Else out.WriteLine text
End Sub

Sub ShowList(list)
  Dim r
  For Each r In list
    Say "  " & Pad(r.FileName, 24) & Pad(r.ReportType, 9) & Pad(r.ReportTitle, 28) & _
                 "data " & r.ApplicationData & IIf(r.Favourite, "  *", "")
  Next
End Sub

Function Pad(s, n)
  If Len(s) >= n Then Pad = s & " " Else Pad = s & Space(n - Len(s))
End Function

Function IIf(c, a, b)
  If c Then IIf = a Else IIf = b
End Function
