' A sample host session: what a host application does with the library.
'   cscript host-session.vbs <reports folder with trailing \>
Option Explicit
On Error Resume Next
Dim folder, fn, reports, item
folder = WScript.Arguments(0)

Set fn = CreateObject("Mervane100.ReportFunctions")
If Err.Number <> 0 Then WScript.Echo "Mervane100 is not registered (" & Hex(Err.Number) & ")" : WScript.Quit 1
fn.RegistryPath = "Mervane100 Demo"
fn.Path = folder
fn.AppName = "Mervane100 Demo"
fn.Module = ""

Set reports = CreateObject("Mervane100.Reports")
fn.GetReports reports
WScript.Echo "Reports in " & folder & ": " & reports.Count
For Each item In reports
  WScript.Echo "  " & item.FileName & "  [" & item.ReportType & "]  " & item.ReportTitle & _
               "  app data " & item.ApplicationData & IIf(item.Favourite, "  (favourite)", "")
Next
If Err.Number <> 0 Then WScript.Echo "error " & Hex(Err.Number) : Err.Clear

Function IIf(c, a, b)
  If c Then IIf = a Else IIf = b
End Function
