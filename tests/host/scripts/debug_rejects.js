Promise.reject(new Error("nobody catches this"));
