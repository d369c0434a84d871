const q = new QDUtil();
console.log('the package is', q.getAppId());
