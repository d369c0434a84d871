var helperValue = "helper loaded";
