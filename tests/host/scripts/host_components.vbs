' The host components as a host script uses them: seeds settings through
' MervaneHost.Settings and reads them back, then reads the example Vardo
' reports through the legacy report service and the property reader.
'   cscript host_components.vbs <examples folder>
' Prints ALL PASSED, or a FAIL line per failed check.
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

' True when the statement before failed; clears the error.
Function Failed()
  Failed = Err.Number <> 0
  Err.Clear
End Function

' True when title starts and ends so and has the given length.
Function IsTitle(title, head, tail, length)
  IsTitle = Left(title, Len(head)) = head And Right(title, Len(tail)) = tail And Len(title) = length
End Function

Const Root = "Mervane Host Script"
Dim examples : examples = WScript.Arguments(0)
Dim s, all, i, found, service, definition, reader

Set s = CreateObject("MervaneHost.Settings")
Check Not s Is Nothing, "create MervaneHost.Settings"
s.DeleteSetting Root, "Reports", ""
Check IsEmpty(s.GetAllSettings(Root, "Reports")), "GetAllSettings of a missing section is Empty"
Check s.GetSetting(Root, "Reports", "C:\Data\Reports\a.rpt", "none") = "none", "GetSetting default"

s.SaveSetting Root, "Reports", "C:\Data\Reports\a.rpt", "Sales;Y;0"
s.SaveSetting Root, "Reports", "C:\Data\Reports\b.rpt", "Profit;loss;N;4"
s.SaveSetting Root, "Company", "ProgramReports", examples
Check s.GetSetting(Root, "Reports", "C:\Data\Reports\a.rpt", "") = "Sales;Y;0", "value under a full-path key"
Check s.GetSetting(Root, "Company", "ProgramReports", "") = examples, "ProgramReports seeded"

all = s.GetAllSettings(Root, "Reports")
Check IsArray(all), "GetAllSettings gives an array"
Check LBound(all, 1) = 0 And UBound(all, 1) = 1 And LBound(all, 2) = 0 And UBound(all, 2) = 1, "rows 0 to 1 by columns 0 to 1"
found = ""
For i = LBound(all, 1) To UBound(all, 1)
  found = found & "[" & all(i, 0) & "=" & all(i, 1) & "]"
Next
Check InStr(found, "[C:\Data\Reports\a.rpt=Sales;Y;0]") > 0 And InStr(found, "[C:\Data\Reports\b.rpt=Profit;loss;N;4]") > 0, "rows hold key and value: " & found

s.DeleteSetting Root, "Reports", "C:\Data\Reports\a.rpt"
Check s.GetSetting(Root, "Reports", "C:\Data\Reports\a.rpt", "gone") = "gone", "DeleteSetting of one key"
s.DeleteSetting Root, "Reports", ""
Check IsEmpty(s.GetAllSettings(Root, "Reports")), "DeleteSetting with an empty key removes the section"

s.SaveSetting "", "Reports", "k", "v"
Check Failed(), "an empty root is refused"

' The older family, named relative to the ProgramReports folder.
Set service = CreateObject("MervaneHost.LegacyReportService")
service.ProgramReports = s.GetSetting(Root, "Company", "ProgramReports", "")
Check service.ProgramReports = examples, "ProgramReports property"
Set definition = service.GetReportDefinition()
definition.Name = "reports\SALES.SRT"
definition.Load
' (This script host lacks ChrW: the accented letter is checked as one character.)
Check IsTitle(definition.Title, "Ventes mensuelles par r", "gion", 28) And definition.ApplicationData = 12, "SALES.SRT title and data"
Check LCase(definition.FullPath) = LCase(examples & "\reports\SALES.SRT"), "resolved path " & definition.FullPath
definition.Name = "reports\NOT THERE.SRT"
definition.Load
Check Failed(), "Load of a missing report fails"
Check definition.Title = "" And definition.ApplicationData = 0, "a failed Load leaves no title"

' The newer family, by full path.
Set reader = CreateObject("MervaneHost.ReportPropertyReader")
Check reader.GetTitle(examples & "\reports\stock.report") = "Stock valuation by warehouse", "stock.report title"
Check CLng(reader.GetProperty(examples & "\reports\stock.report", "AppSpecificData")) = 21, "stock.report AppSpecificData"
Check IsTitle(reader.GetProperty(examples & "\reports\delivery.layout", "Title"), "Lieferschein mit ", "bersicht", 26), "delivery.layout title"

s.DeleteSetting Root, "Company", ""
If failures = 0 Then WScript.Echo "ALL PASSED"
