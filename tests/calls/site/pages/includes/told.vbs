<%
Sub Told(name, value)
  Response.Write name & ": "
  Response.Write value
  Response.Write Chr(10)
End Sub

' Behind a statement that fails.
Sub ToldFailure(name)
  If Err.Number = 0 Then
    Told name, "nothing was raised"
  Else
    Told name, (Err.Number And 65535) & " " & Err.Description
  End If
  Err.Clear
End Sub
%>
