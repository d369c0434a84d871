import 'lodash';
