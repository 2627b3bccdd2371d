-- Signs the bench account in, over and over.
wrk.method = "POST"
wrk.headers["Content-Type"] = "application/json"
wrk.body = string.format(
    '{"email":"%s","password":"%s","cid":"0b0b0b0b-0000-4000-8000-000000000001","device_name":"bench","client_version":"bench"}',
    os.getenv("VLM_BENCH_EMAIL"), os.getenv("VLM_BENCH_PASSWORD"))
