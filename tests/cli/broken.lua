print('fine')
if then
