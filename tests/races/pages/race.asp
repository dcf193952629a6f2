<% var counter = Server.CreateObject("Test.Counter"); for (var i = 0; i < 100; i++) counter.Add(); %>counted
